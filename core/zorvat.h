// zorvat.h: the whole public interface of libzorvat_core in one include.
//
// Hosts and plugins include this header (plugins also "plugin/zx_plugin.h")
// and link with -lzorvat_core.  Everything lives in namespace zorvat, with the
// sub-namespaces zorvat::internal (display workers, plugin manager) and
// zorvat::global (process-wide hooks and settings).
//
//   #include "zorvat.h"
//   zorvat::matrix<double> m(2, 2);
//   m << 1, 2, 3, 4;
//   std::cout << m;
#pragma once

// The version.
#include "zorvat_version.h"

// Memory and text utilities.
#include "memory/zo_assert.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "memory/type_lists.h"
#include "memory/zo_malloc.h"

// Dense arrays.
#include "matrix/matrix.h"
#include "matrix/zo_hdl.h"

// Sparse arrays.
#include "sparse/sparse_matrix.h"

// Values.
#include "value/cell_array.h"
#include "value/container_base.h"
#include "value/extern_obj_base.h"
#include "value/function_handle.h"
#include "value/one_line.h"
#include "value/records.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value/zo_obj.h"
#include "value/zo_type.h"

// Display.
#include "display/display.h"
#include "display/display_dense.h"
#include "display/display_format.h"
#include "display/display_kinds.h"
#include "display/display_sinks.h"
#include "display/display_sparse.h"
#include "display/display_string.h"
#include "display/display_text.h"
#include "display/number_format.h"

// Exchange with other libraries.
#include "io/dlpack.h"

// Host bridge.
#include "host/console.h"
#include "host/host_query.h"
#include "host/host_services.h"

// MAT-files
#include "io/mat_file.h"

// Plugins.
#include "plugin/plugin_manager.h"
#include "plugin/zx_types.h"
