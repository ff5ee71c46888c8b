// builtins_info.cpp: zorvat-host's built-ins about values: size, numel,
// length, ndims, isempty, class, disp, num2str, fieldnames, isfield, full
// and nnz.
#include <cmath>
#include <cstring>

#include "builtins.h"
#include "display/display.h"
#include "host/console.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "typed.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/kind_traits.h"
#include "value/structure.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

namespace {

long product(const std::vector<long>& d, size_t from) {
  long n = 1;
  for (size_t k = from; k < d.size(); ++k) n *= d[k];
  return n;
}

// Calls f(type_tag<T>) with the element type of the sparse value v; false
// (f not called) for any other kind.
template <class F>
bool visit_sparse(const zo_obj& v, F&& f) {
  return zorvat::internal::visit_kind(v.type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (!zorvat::internal::is_sparse_v<P>) {
      return false;
    } else {
      f(type_tag<zorvat::internal::payload_element_t<P>>{});
      return true;
    }
  });
}

value_ptr char_row(const std::string& s) { return std::make_shared<zo_obj>(s.c_str(), zorvat::type_char); }

// One number as num2str writes it: integers in full, others with four
// decimals more than their integer digits (at most 15 significant digits).
std::string number_text(double x) {
  if (std::isnan(x)) return "NaN";
  if (std::isinf(x)) return x < 0 ? "-Inf" : "Inf";
  if (x == std::floor(x) && std::fabs(x) < 1e15) return str_format("%.0f", x);
  const int digits = std::max(0, static_cast<int>(std::floor(std::log10(std::fabs(x))))) + 5;
  return str_format("%.*g", std::min(digits, 15), x);
}

}  // namespace

void bi_size(const value_list& args, int nargout, std::vector<value_ptr>& out, int col) {
  check_args("size", args, 1, 2, col);
  const std::vector<long> d = value_dims(*args[0]);
  if (args.size() == 2) {
    const long k = index_arg(scalar_arg(*args[1], tr("维数"), col), tr("维数"), col);
    if (k < 1) throw host_error(tr("维数必须是正整数"), col);
    out.push_back(number(static_cast<double>(k <= static_cast<long>(d.size()) ? d[k - 1] : 1)));
    return;
  }
  if (nargout <= 1) {
    out.push_back(doubles({1, static_cast<long>(d.size())}, std::vector<double>(d.begin(), d.end())));
    return;
  }
  // [m, n] = size(x): the last output takes the product of the rest.
  for (int k = 0; k < nargout; ++k) {
    const long n = k + 1 < nargout ? (k < static_cast<int>(d.size()) ? d[k] : 1) : product(d, k);
    out.push_back(number(static_cast<double>(n)));
  }
}

void bi_numel(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("numel", args, 1, 1, col);
  out.push_back(number(static_cast<double>(product(value_dims(*args[0]), 0))));
}

void bi_length(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("length", args, 1, 1, col);
  const std::vector<long> d = value_dims(*args[0]);
  long n = 0;
  for (long e : d) n = std::max(n, e);
  out.push_back(number(product(d, 0) == 0 ? 0.0 : static_cast<double>(n)));
}

void bi_ndims(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("ndims", args, 1, 1, col);
  out.push_back(number(static_cast<double>(value_dims(*args[0]).size())));
}

void bi_isempty(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("isempty", args, 1, 1, col);
  out.push_back(std::make_shared<zo_obj>(product(value_dims(*args[0]), 0) == 0));
}

void bi_class(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("class", args, 1, 1, col);
  const zo_obj& v = *args[0];
  // The kind's name without "sparse " and "complex ": both are forms of
  // their element class.
  std::string name = v.type == zorvat::type_extern ? v.brief_type_str() : zorvat::type_str(v.type);
  for (const char* form : {"sparse ", "complex "})
    if (name.compare(0, std::strlen(form), form) == 0) name.erase(0, std::strlen(form));
  out.push_back(char_row(name));
}

// disp(x): a text as it is; any other value as the library shows it, without
// its type header (display.h) and the blank lines around the body.
void bi_disp(const value_list& args, int nargout, std::vector<value_ptr>&, int col) {
  check_args("disp", args, 1, 1, col);
  if (nargout > 0) throw host_error(str_format(tr("函数 %s 没有返回值"), "disp"), col);
  const zo_obj& v = *args[0];
  if (v.is_char_vector() || (v.type == zorvat::type_string && v.array_base()->is_scalar())) {
    zorvat::write_to_cout_flush(v.as_string() + "\n");
    return;
  }
  std::string t = zorvat::internal::obj2str(v, zorvat::window_width());
  const size_t header = t.find_first_not_of('\n');
  const size_t eol = header == std::string::npos ? header : t.find('\n', header);
  t.erase(0, eol == std::string::npos ? t.size() : eol + 1);
  t.erase(0, std::min(t.size(), t.find_first_not_of('\n')));
  while (t.size() >= 2 && t[t.size() - 1] == '\n' && t[t.size() - 2] == '\n') t.pop_back();
  zorvat::write_to_cout_flush(t);
}

// num2str(x): a char array, one row of numbers per row of x (two blanks
// between them, right-aligned); a char array stays as it is.
void bi_num2str(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("num2str", args, 1, 1, col);
  if (args[0]->type == zorvat::type_char) {
    out.push_back(std::make_shared<zo_obj>(*args[0]));
    return;
  }
  const num_array a = read_array(*args[0], col);
  if (a.dims.size() > 2) throw host_error(tr("num2str 只接受二维数组"), col);
  const long m = a.dims[0], n = a.dims[1];
  std::vector<std::string> cells(a.v.size());
  size_t width = 0;
  for (size_t k = 0; k < a.v.size(); ++k) {
    const cplx z = a.v[k];
    cells[k] = number_text(z.real());
    if (z.imag() != 0) cells[k] += (z.imag() < 0 ? "-" : "+") + number_text(std::fabs(z.imag())) + "i";
    width = std::max(width, cells[k].size());
  }
  std::vector<std::string> rows(m);
  for (long i = 0; i < m; ++i)
    for (long j = 0; j < n; ++j) {
      const std::string& c = cells[i + j * m];
      rows[i] += std::string((j ? 2 : 0) + width - c.size(), ' ') + c;
    }
  zorvat::matrix<char> text(m, m ? static_cast<long>(rows[0].size()) : 0);
  for (long i = 0; i < m; ++i)
    for (long j = 0; j < text.cols(); ++j) text.data()[i + j * m] = rows[i][j];
  out.push_back(wrap(std::move(text)));
}

void bi_fieldnames(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("fieldnames", args, 1, 1, col);
  if (args[0]->type != zorvat::type_struct) throw host_error(tr("fieldnames 的参数必须是结构体"), col);
  const auto& names = args[0]->get<zorvat::structure>().fieldnames();
  auto* c = new zorvat::cell_array(static_cast<long>(names.size()), 1);
  auto v = std::make_shared<zo_obj>(zorvat::type_cell, c);
  for (size_t k = 0; k < names.size(); ++k) (*c)(static_cast<long>(k)) = char_row(names[k]);
  out.push_back(v);
}

void bi_isfield(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("isfield", args, 2, 2, col);
  const zo_obj& s = *args[0];
  const auto has = [&](const zo_obj& name) {
    return s.type == zorvat::type_struct && (name.is_char_vector() || name.type == zorvat::type_string) &&
           s.get<zorvat::structure>().isfield(name.as_string());
  };
  if (args[1]->type != zorvat::type_cell) {
    out.push_back(std::make_shared<zo_obj>(has(*args[1])));
    return;
  }
  const auto& c = args[1]->get<zorvat::cell_array>();
  zorvat::matrix<bool> r(c.dim_vec());
  for (long k = 0; k < c.size(); ++k) r.data()[k] = c(k) && has(*c(k));
  out.push_back(wrap(std::move(r)));
}

void bi_full(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("full", args, 1, 1, col);
  if (is_dense_kind(*args[0])) {
    out.push_back(std::make_shared<zo_obj>(*args[0]));
    return;
  }
  value_ptr r;
  visit_sparse(*args[0], [&](auto tag) {
    using T = typename decltype(tag)::type;
    r = wrap(args[0]->get<zorvat::sparse_matrix<T>>().to_full());
  });
  if (!r) throw host_error(str_format(tr("full 不接受 %s 类型的值"), args[0]->brief_type_str().c_str()), col);
  out.push_back(r);
}

void bi_nnz(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("nnz", args, 1, 1, col);
  long n = 0;
  const bool sparse = visit_sparse(*args[0], [&](auto tag) {
    using T = typename decltype(tag)::type;
    for (const auto& t : args[0]->get<zorvat::sparse_matrix<T>>().to_triplet()) n += t.value != T(0);
  });
  if (!sparse)
    for (const cplx& z : read_array(*args[0], col).v) n += z != cplx();
  out.push_back(number(static_cast<double>(n)));
}

}  // namespace zorvat_host
