/* zx_plugin.h: the C interface between the core and a plugin.
 *
 * A plugin is a shared library at <root>/plugins/<name>/main.so that exports
 * the entry points below with C linkage.  Only zxPluginFunctions is
 * required.  Include this header from the plugin's sources (C or C++).  Its
 * zo_malloc/zo_free are the very functions that C++ code also reaches as
 * zorvat::zo_malloc/zorvat::zo_free, so a C++ plugin may use both headers and
 * `using namespace zorvat;` without an ambiguity.
 *
 *   static void hello(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs);
 *   static const zxFunctionEntry table[] = {
 *       {"demo::hello", hello, "hello()  greets"},
 *       {0, 0, 0},
 *   };
 *   const zxFunctionEntry* zxPluginFunctions(void) { return table; }
 *
 * Order on load: zxPluginFunctions (validated, then registered),
 * zxPluginInitLib, zxPluginInit.  On unload: zxPluginFini.  A non-zero
 * result of an init function makes the load fail and unloads the plugin.
 */
#ifndef ZORVAT_PLUGIN_ZX_PLUGIN_H
#define ZORVAT_PLUGIN_ZX_PLUGIN_H

#include "plugin/zx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Optional.  Receives the loader handle of the extension library "libzex.so"
 * (null when it could not be opened).  Non-zero means failure. */
int zxPluginInitLib(void* zex_handle);

/* Optional.  The plugin's own initialisation with the load arguments.
 * `args` points at the SECOND load argument while `nargs` counts all of
 * them: only args[0] .. args[nargs - 2] may be read.  Non-zero means
 * failure. */
int zxPluginInit(int nargs, const __zxArray** args);

/* Optional.  Called on unload; non-zero is reported, the unload goes on. */
int zxPluginFini(void);

/* Required.  The plugin's constant function table. */
const zxFunctionEntry* zxPluginFunctions(void);

/* Aligned heap blocks of the core (align 1..127); release with zo_free.  A
 * larger alignment is accepted, but zo_free then releases the block at the
 * wrong address (intended): keep to 127 or less. */
void* zo_malloc(unsigned long size, unsigned long align);
void zo_free(void* p);

#ifdef __cplusplus
}
#endif

#endif /* ZORVAT_PLUGIN_ZX_PLUGIN_H */
