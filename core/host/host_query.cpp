// host_query.cpp: registration of the host's callbacks and the two forwarders.
#include "host/host_query.h"

#include <libintl.h>

#include "host/console.h"
#include "memory/messages.h"

namespace zorvat {
namespace global {

core_query_function __F2KQuery_p = nullptr;
core_query_function __K2FQuery_p = nullptr;
clear_extern_obj_function clear_extern_obj = nullptr;

void set_core_query_function(core_query_function f2k, core_query_function k2f) {
  __F2KQuery_p = f2k;
  __K2FQuery_p = k2f;
  // The directory query already goes through the callback just stored.
  const std::string locale_dir = get_user_config_dir() + "/locale";
  bindtextdomain(message_domain, locale_dir.c_str());
}

void* F2KQuery_fwd(std::string const& name, void* arg) {
  return __F2KQuery_p ? __F2KQuery_p(name, arg) : nullptr;
}

void* K2FQuery_fwd(std::string const& name, void* arg) {
  return __K2FQuery_p ? __K2FQuery_p(name, arg) : nullptr;
}

void set_clear_extern_obj(clear_extern_obj_function hook) { clear_extern_obj = hook; }

}  // namespace global
}  // namespace zorvat
