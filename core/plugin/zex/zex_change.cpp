// zex_change.cpp: libzex.so, changing values, errors and host services.
#include "plugin/zex/zex_detail.h"

using namespace zorvat;
using namespace zorvat::internal;
using namespace zorvat::internal::zex;

extern "C" {

// ---- Changing values ------------------------------------------------------------

int zxSetCell(__zxArray* cell, long index, __zxArray* element) {
  return guard("zxSetCell", -1, [&] {
    std::shared_ptr<zo_obj> e = adopt_element(element);  // adopted whatever happens next
    cell_of(mine(cell));
    auto& c = writable(cell).get<cell_array>();
    check_index(index, c.size());
    c(index) = std::move(e);
    return 0;
  });
}

int zxSetField(__zxArray* s, long index, const char* name, __zxArray* element) {
  return guard("zxSetField", -1, [&] {
    std::shared_ptr<zo_obj> e = adopt_element(element);
    const std::string field = checked_name(name);
    struct_of(mine(s));
    auto& st = writable(s).get<structure>();
    check_index(index, st.numel());
    st.create_field_table(field)(index) = std::move(e);
    return 0;
  });
}

int zxAddField(__zxArray* s, const char* name) {
  return guard("zxAddField", -1, [&] {
    const std::string field = checked_name(name);
    struct_of(mine(s));
    auto& st = writable(s).get<structure>();
    st.create_field_table(field);
    const auto& names = st.fieldnames();
    return static_cast<int>(std::find(names.begin(), names.end(), field) - names.begin());
  });
}

int zxRemoveField(__zxArray* s, const char* name) {
  return guard("zxRemoveField", -1, [&] {
    const std::string field = checked_name(name);
    struct_of(mine(s));
    writable(s).get<structure>().remove_field(field);
    return 0;
  });
}

int zxResize(__zxArray* value, int ndims, const long* dims) {
  return guard("zxResize", -1, [&] {
    zo_obj& v = mine(value);
    if (v.type == type_cell || v.type == type_struct) {
      std::vector<long> d = checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>));
      if (v.type == type_struct) {
        writable(value).get<structure>().resize(d);
      } else {
        writable(value).get<cell_array>().data().conservative_resize(d);  // new slots empty
      }
      return 0;
    }
    return visit_kind(v.type, [&](auto k) -> int {
      using P = typename decltype(k)::payload;
      if constexpr (is_scalar_dense_v<P>) {
        std::vector<long> d = checked_dims(ndims, dims, sizeof(typename P::value_type));
        writable(value).template get<P>().conservative_resize(d);
      } else if constexpr (is_sparse_v<P>) {
        std::vector<long> d = checked_dims(ndims, dims, 1);
        for (size_t j = 2; j < d.size(); ++j)
          if (d[j] != 1) throw misuse(tr("稀疏矩阵只有两个维度"));
        if (d[1] == std::numeric_limits<long>::max()) throw misuse(tr("尺寸过大，无法分配"));
        writable(value).template get<P>().conservative_resize(d[0], d[1]);
      } else {
        throw misuse(str_format(tr("类型为 %s 的值不能改变尺寸"), class_name(v).c_str()));
      }
      return 0;
    });
  });
}

// ---- Errors ---------------------------------------------------------------------

void zxError(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  guard("zxError", 0, [&] {
    std::string text = vformat(fmt, args);
    set_plugin_error(text.empty() ? std::string(tr("插件报告了一个错误")) : text);
    return 0;
  });
  va_end(args);
}

const char* zxLastError(void) {
  return has_plugin_error() ? plugin_error().c_str() : nullptr;
}

void zxClearError(void) { clear_plugin_error(); }

// ---- Services -------------------------------------------------------------------

void zxPrintf(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  guard("zxPrintf", 0, [&] {
    if (!fmt) throw misuse(tr("空指针参数"));
    write_to_cout_flush(vformat(fmt, args));
    return 0;
  });
  va_end(args);
}

int zxCallFunction(const char* name, int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  return guard("zxCallFunction", -1, [&] {
    if (!name || !*name) throw misuse(tr("函数名无效"));
    if (nlhs < 0) throw misuse(str_format(tr("参数个数 %d 无效"), nlhs));
    if (nrhs < 0) throw misuse(str_format(tr("参数个数 %d 无效"), nrhs));
    if ((nlhs > 0 && !plhs) || (nrhs > 0 && !prhs)) throw misuse(tr("空指针参数"));
    for (int k = 0; k < nlhs; ++k) plhs[k] = nullptr;
    std::vector<std::shared_ptr<const zo_obj>> args{std::make_shared<zo_obj>(name, type_char)};
    for (int k = 0; k < nrhs; ++k) args.push_back(std::make_shared<zo_obj>(in(prhs[k])));
    std::vector<std::shared_ptr<zo_obj>> results;
    feval(args, results);
    if (static_cast<long>(results.size()) < nlhs)
      throw misuse(str_format(tr("调用 %s 得到 %d 个结果，需要 %d 个"), name, static_cast<int>(results.size()), nlhs));
    std::vector<std::unique_ptr<zo_obj>> kept;  // all made before any slot is filled
    for (int k = 0; k < nlhs; ++k) {
      const std::shared_ptr<zo_obj>& r = results[static_cast<size_t>(k)];
      kept.push_back(r ? std::make_unique<zo_obj>(*r) : std::make_unique<zo_obj>(type_double, new matrix<double>()));
    }
    for (int k = 0; k < nlhs; ++k) plhs[k] = handle(kept[static_cast<size_t>(k)].release());
    return 0;
  });
}

}  // extern "C"
