// save_load.cpp: the commands save and load of zorvat-host, over the
// library's MAT-file functions (io/mat_file.h), which reach the workspace
// through the host bridge:
//   save FILE [NAME...]   the named variables (all without names), as
//                         version 7 unless -v6 or -v7.3 (written anywhere
//                         after save) says otherwise
//   load FILE [NAME...]   the named variables (all without names), replacing
//                         variables of the same name; says what it loaded
#include <string>
#include <vector>

#include "host/console.h"
#include "io/mat_file.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "session.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

namespace {

struct version_option {
  const char* word;
  zorvat::mat_version version;
};
const version_option version_options[] = {
    {"-v6", zorvat::mat_version::v6}, {"-v7", zorvat::mat_version::v7}, {"-v7.3", zorvat::mat_version::v7_3}};

}  // namespace

const char* save_load_help(const std::string& word) {
  if (word == "save")
    return tr(
        "save 文件 [名称...] [-v7|-v6|-v7.3]：把指定的变量（不写名称时为全部变量）保存到 MAT 文件；\n"
        "  -v7 是默认版本（逐个变量压缩），-v6 不压缩，-v7.3 是 HDF5 格式，可容纳超过 2 GiB 的变量。\n"
        "  选项可以写在任何位置。数值、字符、逻辑数组、稀疏矩阵、单元数组和结构体可以保存；\n"
        "  字符串数组保存为字符行的单元数组；函数句柄和插件对象不能保存。\n");
  if (word == "load")
    return tr(
        "load 文件 [名称...]：从 MAT 文件载入指定的变量（不写名称时为全部变量），替换同名变量，\n"
        "  并列出载入的变量。版本由文件本身决定；有一个变量读不出时，一个也不载入。\n");
  return word.empty()
             ? tr("  save 文件 [名称...] [-v7|-v6|-v7.3]，load 文件 [名称...]（help save、help load）\n")
             : nullptr;
}

void run_save_load(const std::vector<std::string>& words) {
  const bool save = words[0] == "save";
  zorvat::mat_save_options options;
  std::vector<std::string> rest;
  for (size_t k = 1; k < words.size(); ++k) {
    if (words[k][0] != '-') {
      rest.push_back(words[k]);
      continue;
    }
    const version_option* found = nullptr;
    for (const auto& o : version_options)
      if (words[k] == o.word) found = &o;
    if (!save || !found)
      throw host_error(str_format(tr("%s 不认识选项 %s"), words[0].c_str(), words[k].c_str()), 0);
    options.version = found->version;
  }
  if (rest.empty())
    throw host_error(save ? tr("用法：save 文件 [名称...] [-v7|-v6|-v7.3]") : tr("用法：load 文件 [名称...]"),
                     0);
  const std::string path = rest[0];
  rest.erase(rest.begin());
  if (save) {
    zorvat::save_ws(path, rest, options);
    return;
  }
  const std::vector<std::string> loaded = zorvat::load_ws(path, rest);
  if (loaded.empty()) return;
  std::string text = tr("已载入：");
  for (const auto& name : loaded) text += " " + name;
  zorvat::write_to_cout_flush(text + "\n");
}

}  // namespace zorvat_host
