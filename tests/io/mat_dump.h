// mat_dump.h: a value as canonical JSON, for comparing values with each
// other (exact: floating elements as their bit patterns) and with SciPy's
// reading of a file (tests/io/scipy_compare.py).
//
//   {"k": kind name, "d": dims, "v": elements column-major}
//   complex elements [re, im]; char: "v" lists the lines (rows of every
//   page) as text; sparse: "v" lists [row, col, value] of the non-zeros of
//   the full matrix, column-major; struct: "f" the field names, "v" one list
//   of field values per record.  An empty slot dumps as a 0x0 double.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
#include "value/zo_obj.h"

namespace zorvat_test {

inline void dump_text(std::string& o, const char* p, size_t n) {
  o += '"';
  for (size_t i = 0; i < n; ++i) {
    const unsigned char c = static_cast<unsigned char>(p[i]);
    if (c == '"' || c == '\\') {
      o += '\\';
      o += static_cast<char>(c);
    } else if (c < 0x20) {
      char b[8];
      std::snprintf(b, sizeof b, "\\u%04x", c);
      o += b;
    } else {
      o += static_cast<char>(c);
    }
  }
  o += '"';
}

template <class T>
void dump_number(std::string& o, T x, bool exact) {
  char b[48];
  if constexpr (std::is_same_v<T, bool>) {
    o += x ? "1" : "0";
    return;
  } else if constexpr (std::is_floating_point_v<T>) {
    if (exact) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &x, sizeof x);
      std::snprintf(b, sizeof b, "\"0x%llx\"", static_cast<unsigned long long>(bits));
    } else if (std::isnan(x)) {
      std::snprintf(b, sizeof b, "\"nan\"");
    } else if (std::isinf(x)) {
      std::snprintf(b, sizeof b, x > 0 ? "\"inf\"" : "\"-inf\"");
    } else {
      std::snprintf(b, sizeof b, "%.17g", static_cast<double>(x));
    }
  } else if constexpr (std::is_signed_v<T>) {
    std::snprintf(b, sizeof b, "%lld", static_cast<long long>(x));
  } else {
    std::snprintf(b, sizeof b, "%llu", static_cast<unsigned long long>(x));
  }
  o += b;
}

template <class T>
void dump_element(std::string& o, const T& x, bool exact) {
  if constexpr (std::is_same_v<T, std::complex<double>> || std::is_same_v<T, std::complex<float>>) {
    o += '[';
    dump_number(o, x.real(), exact);
    o += ',';
    dump_number(o, x.imag(), exact);
    o += ']';
  } else {
    dump_number(o, x, exact);
  }
}

inline void dump_head(std::string& o, const char* kind, const std::vector<long>& dims) {
  o += "{\"k\":\"";
  o += kind;
  o += "\",\"d\":[";
  for (size_t i = 0; i < dims.size(); ++i) o += (i ? "," : "") + std::to_string(dims[i]);
  o += "],\"v\":[";
}

inline void dump(std::string& o, const zorvat::zo_obj* v, bool exact);

template <class T>
void dump_dense(std::string& o, const zorvat::zo_obj& v, bool exact) {
  const zorvat::matrix<T> m = v.get<zorvat::matrix<T>>().contiguous();
  dump_head(o, zorvat::type_str(v.type), m.dim_vec());
  for (long i = 0; i < m.size(); ++i) {
    if (i) o += ',';
    dump_element(o, m[i], exact);
  }
  o += "]}";
}

template <class T>
void dump_sparse(std::string& o, const zorvat::zo_obj& v, bool exact) {
  const zorvat::matrix<T> m = v.get<zorvat::sparse_matrix<T>>().to_full();
  dump_head(o, zorvat::type_str(v.type), m.dim_vec());
  bool first = true;
  for (long c = 0; c < m.cols(); ++c)
    for (long r = 0; r < m.rows(); ++r)
      if (m(r, c) != T(0)) {
        o += first ? "[" : ",[";
        first = false;
        o += std::to_string(r) + "," + std::to_string(c) + ",";
        dump_element(o, m(r, c), exact);
        o += ']';
      }
  o += "]}";
}

inline void dump(std::string& o, const zorvat::zo_obj* v, bool exact) {
  using namespace zorvat;
  if (!v || !v->payload()) return dump_head(o, "double", {0, 0}), void(o += "]}");
  switch (v->type) {
    case type_int8: return dump_dense<signed char>(o, *v, exact);
    case type_int16: return dump_dense<short>(o, *v, exact);
    case type_int32: return dump_dense<int>(o, *v, exact);
    case type_int64: return dump_dense<long>(o, *v, exact);
    case type_uint8: return dump_dense<unsigned char>(o, *v, exact);
    case type_uint16: return dump_dense<unsigned short>(o, *v, exact);
    case type_uint32: return dump_dense<unsigned int>(o, *v, exact);
    case type_uint64: return dump_dense<unsigned long>(o, *v, exact);
    case type_double: return dump_dense<double>(o, *v, exact);
    case type_single: return dump_dense<float>(o, *v, exact);
    case type_complex_double: return dump_dense<std::complex<double>>(o, *v, exact);
    case type_complex_single: return dump_dense<std::complex<float>>(o, *v, exact);
    case type_logical: return dump_dense<bool>(o, *v, exact);
    case type_sparse_double: return dump_sparse<double>(o, *v, exact);
    case type_sparse_single: return dump_sparse<float>(o, *v, exact);
    case type_sparse_complex_double: return dump_sparse<std::complex<double>>(o, *v, exact);
    case type_sparse_complex_single: return dump_sparse<std::complex<float>>(o, *v, exact);
    case type_sparse_logical: return dump_sparse<bool>(o, *v, exact);
    case type_char: {
      const matrix<char> m = v->get<matrix<char>>().contiguous();
      dump_head(o, "char", m.dim_vec());
      const long rows = m.rows(), cols = m.cols(), lines = rows && cols ? m.size() / cols : 0;
      std::string line;
      for (long l = 0; l < lines; ++l) {
        line.clear();
        for (long c = 0; c < cols; ++c) line += m[l % rows + c * rows + (l / rows) * rows * cols];
        if (l) o += ',';
        dump_text(o, line.data(), line.size());
      }
      o += "]}";
      return;
    }
    case type_cell: {
      const matrix<cell_array::element> m = v->get<cell_array>().data().contiguous();
      dump_head(o, "cell", m.dim_vec());
      for (long i = 0; i < m.size(); ++i) {
        if (i) o += ',';
        dump(o, m[i].get(), exact);
      }
      o += "]}";
      return;
    }
    case type_struct: {
      const structure& s = v->get<structure>();
      o += "{\"k\":\"struct\",\"f\":[";
      const auto& names = s.fieldnames();
      for (size_t f = 0; f < names.size(); ++f) {
        if (f) o += ',';
        dump_text(o, names[f].data(), names[f].size());
      }
      o += "],";
      std::string head;
      dump_head(head, "struct", s.dim_vec());
      o += head.substr(head.find("\"d\""));
      const long n = names.empty() ? 0 : s.numel();
      for (long r = 0; r < n; ++r) {
        o += r ? ",[" : "[";
        for (size_t f = 0; f < names.size(); ++f) {
          if (f) o += ',';
          dump(o, s.get_field_table(names[f]).contiguous()[r].get(), exact);
        }
        o += ']';
      }
      o += "]}";
      return;
    }
    default:
      o += "{\"k\":\"";
      o += type_str(v->type);
      o += "\"}";
  }
}

inline std::string dump(const zorvat::zo_obj* v, bool exact) {
  std::string o;
  dump(o, v, exact);
  return o;
}

}  // namespace zorvat_test
