#include "memory/str_util.h"

#include <sstream>

namespace zorvat {
namespace {

// Both splitters read fields with getline through a string stream; the
// stream's rules are what give the empty-field behaviour documented in the
// header (a trailing separator ends the stream without another field).
template <class Add>
void for_each_field(const std::string& s, char sep, Add add) {
  std::stringstream in(s, std::ios::in | std::ios::out);
  std::string field;
  while (std::getline(in, field, sep)) add(std::move(field));
}

}  // namespace

std::vector<std::string> split_v(const std::string& s, char sep) {
  std::vector<std::string> out;
  for_each_field(s, sep, [&](std::string&& f) { out.push_back(std::move(f)); });
  return out;
}

std::set<std::string> split_s(const std::string& s, char sep) {
  std::set<std::string> out;
  for_each_field(s, sep, [&](std::string&& f) { out.insert(std::move(f)); });
  return out;
}

namespace internal {

std::string trim(const std::string& s, const std::string& chars) {
  const auto first = s.find_first_not_of(chars);
  if (first == std::string::npos) return std::string();
  const auto last = s.find_last_not_of(chars);
  return s.substr(first, last - first + 1);
}

}  // namespace internal
}  // namespace zorvat
