// zex_make.cpp: libzex.so, making and freeing values.
#include "plugin/zex/zex_detail.h"

using namespace zorvat;
using namespace zorvat::internal;
using namespace zorvat::internal::zex;

extern "C" {

// ---- Lifetime ----------------------------------------------------------------

void zxDestroyArray(__zxArray* value) {
  guard("zxDestroyArray", 0, [&] {
    delete obj(value);
    return 0;
  });
}

__zxArray* zxDuplicateArray(const __zxArray* value) {
  return guard("zxDuplicateArray", static_cast<__zxArray*>(nullptr), [&] { return handle(new zo_obj(in(value))); });
}

// ---- Making values -------------------------------------------------------------

__zxArray* zxCreateNumericArray(int ndims, const long* dims, zxKind kind) {
  return guard("zxCreateNumericArray", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(ndims, dims, kind_number(kind)); });
}

__zxArray* zxCreateNumericMatrix(long m, long n, zxKind kind) {
  const long dims[2] = {m, n};
  return guard("zxCreateNumericMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, kind_number(kind)); });
}

__zxArray* zxCreateDoubleMatrix(long m, long n, int complex_flag) {
  const long dims[2] = {m, n};
  return guard("zxCreateDoubleMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, complex_flag ? type_complex_double : type_double); });
}

__zxArray* zxCreateLogicalMatrix(long m, long n) {
  const long dims[2] = {m, n};
  return guard("zxCreateLogicalMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, type_logical); });
}

__zxArray* zxCreateDoubleScalar(double value) {
  return guard("zxCreateDoubleScalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value); });
}

__zxArray* zxCreateComplexScalar(double re, double im) {
  return guard("zxCreateComplexScalar", static_cast<__zxArray*>(nullptr),
               [&] { return scalar(std::complex<double>(re, im)); });
}

__zxArray* zxCreateLogicalScalar(int value) {
  return guard("zxCreateLogicalScalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value != 0); });
}

__zxArray* zxCreateInt64Scalar(long value) {
  return guard("zxCreateInt64Scalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value); });
}

__zxArray* zxCreateCharArray(const char* utf8) {
  return guard("zxCreateCharArray", static_cast<__zxArray*>(nullptr),
               [&] { return handle(new zo_obj(utf8, type_char)); });
}

__zxArray* zxCreateString(const char* utf8) {
  return guard("zxCreateString", static_cast<__zxArray*>(nullptr),
               [&] { return handle(new zo_obj(utf8 ? utf8 : "")); });
}

__zxArray* zxCreateStringArray(long m, long n, const char* const* texts) {
  return guard("zxCreateStringArray", static_cast<__zxArray*>(nullptr), [&] {
    const long dims[2] = {m, n};
    std::vector<long> d = checked_dims(2, dims, sizeof(std::string));
    auto strings = std::make_unique<matrix<std::string>>(d);
    if (texts) {
      for (long k = 0; k < strings->size(); ++k)
        if (texts[k]) (*strings)(k) = texts[k];
    }
    return adopt(type_string, std::move(strings));
  });
}

__zxArray* zxCreateCellArray(int ndims, const long* dims) {
  return guard("zxCreateCellArray", static_cast<__zxArray*>(nullptr), [&] {
    return adopt(type_cell, std::make_unique<cell_array>(checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>))));
  });
}

__zxArray* zxCreateCellMatrix(long m, long n) {
  const long dims[2] = {m, n};
  return zxCreateCellArray(2, dims);
}

__zxArray* zxCreateStructArray(int ndims, const long* dims, int nfields, const char* const* names) {
  return guard("zxCreateStructArray", static_cast<__zxArray*>(nullptr), [&] {
    auto s = std::make_unique<structure>(checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>)));
    if (nfields < 0) throw misuse(str_format(tr("字段个数 %d 无效"), nfields));
    if (nfields > 0 && !names) throw misuse(tr("空指针参数"));
    for (int k = 0; k < nfields; ++k) s->create_field_table(checked_name(names[k]));
    return adopt(type_struct, std::move(s));
  });
}

__zxArray* zxCreateStructMatrix(long m, long n, int nfields, const char* const* names) {
  const long dims[2] = {m, n};
  return zxCreateStructArray(2, dims, nfields, names);
}

__zxArray* zxCreateSparse(long m, long n, long nnz, const long* rows, const long* cols, const void* values,
                          zxKind kind) {
  return guard("zxCreateSparse", static_cast<__zxArray*>(nullptr), [&] {
    check_sparse_shape(m, n);
    if (nnz < 0) throw misuse(str_format(tr("尺寸 %ld 为负数"), nnz));
    if (nnz > 0 && (!rows || !cols || !values)) throw misuse(tr("空指针参数"));
    return make_sparse(kind_number(kind), [&](auto* p) {
      return sparse_from_triplets<std::remove_pointer_t<decltype(p)>>(m, n, nnz, rows, cols, values);
    });
  });
}

__zxArray* zxCreateSparseFromColumns(long m, long n, const long* jc, const long* ir, const void* values,
                                     zxKind kind) {
  return guard("zxCreateSparseFromColumns", static_cast<__zxArray*>(nullptr), [&] {
    check_sparse_shape(m, n);
    if (!jc) throw misuse(tr("空指针参数"));
    if (jc[n] > 0 && (!ir || !values)) throw misuse(tr("空指针参数"));
    return make_sparse(kind_number(kind), [&](auto* p) {
      return sparse_from_columns<std::remove_pointer_t<decltype(p)>>(m, n, jc, ir, values);
    });
  });
}

}  // extern "C"
