/* zx_types.h: the types of the plugin ABI, shared by the core and plugins.
 *
 * Plain C declarations, usable from C and C++.  The plugin manager includes
 * this header only; plugin writers include "plugin/zx_plugin.h", which adds
 * the entry-point signatures and the C allocation pair.
 *
 * A value crosses the boundary as a `const __zxArray*` (an argument) or a
 * `__zxArray*` (a result).  In C++ the pointer is the address of a
 * zorvat::zo_obj; a result is a zo_obj made with `new` that the core adopts.
 */
#ifndef ZORVAT_PLUGIN_ZX_TYPES_H
#define ZORVAT_PLUGIN_ZX_TYPES_H

#ifdef __cplusplus
extern "C" {
#endif

/* Opaque: never defined, only pointed to. */
typedef struct __zxArray __zxArray;

/* The plugin-call convention: nlhs output slots in plhs (set to null by the
 * caller; the callee stores new values in them), nrhs arguments in prhs. */
typedef void (*zxPluginFunction)(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs);

/* One row of a plugin's function table.  The table ends at the first row
 * whose `function` is null; a row whose `name` is null is skipped.  `name`
 * may carry a namespace ("ns::f"); the namespace must be neither empty nor
 * "builtin". */
typedef struct zxFunctionEntry {
  const char* name;
  zxPluginFunction function;
  const char* help;
} zxFunctionEntry;

/* The operators, one row each: X(identifier, value, symbol, operands).
 * The values are fixed by the ABI.  The symbol is the operator's text in
 * messages; operands is the number of operands that dispatch requires (1, 2
 * or 3), or 0 for any number (the concatenations).  zxOperatorID is made
 * from this table, and so are the core's symbol and operand-count lookups. */
#define ZX_FOR_EACH_OPERATOR(X)          \
  X(zxOpPlus, 1, "+", 2)                 \
  X(zxOpMinus, 2, "-", 2)                \
  X(zxOpElemMul, 3, ".*", 2)             \
  X(zxOpElemRDiv, 4, "./", 2)            \
  X(zxOpElemLDiv, 5, ".\\", 2)           \
  X(zxOpMul, 6, "*", 2)                  \
  X(zxOpRDiv, 7, "/", 2)                 \
  X(zxOpLDiv, 8, "\\", 2)                \
  X(zxOpElemPow, 9, ".^", 2)             \
  X(zxOpPow, 10, "^", 2)                 \
  X(zxOpLt, 11, "<", 2)                  \
  X(zxOpGt, 12, ">", 2)                  \
  X(zxOpLe, 13, "<=", 2)                 \
  X(zxOpGe, 14, ">=", 2)                 \
  X(zxOpNe, 15, "~=", 2)                 \
  X(zxOpEq, 16, "==", 2)                 \
  X(zxOpAnd, 17, "&", 2)                 \
  X(zxOpOr, 18, "|", 2)                  \
  X(zxOpHorzCat, 19, "[,]", 0)           \
  X(zxOpVertCat, 20, "[;]", 0)           \
  X(zxOpUMinus, 21, "u-", 1)             \
  X(zxOpUPlus, 22, "u+", 1)              \
  X(zxOpNot, 23, "~", 1)                 \
  X(zxOpTranspose, 24, ".'", 1)          \
  X(zxOpCTranspose, 25, "'", 1)          \
  X(zxOpSubsindex, 26, "subsindex", 1)   \
  X(zxOpSubsref, 27, "subsref", 2)       \
  X(zxOpSubsasgn, 28, "subsasgn", 3)

/* Operator identifiers (ZX_FOR_EACH_OPERATOR). */
#define ZX_OPERATOR_ENUMERATOR(id, value, symbol, operands) id = value,
typedef enum zxOperatorID { ZX_FOR_EACH_OPERATOR(ZX_OPERATOR_ENUMERATOR) } zxOperatorID;
#undef ZX_OPERATOR_ENUMERATOR

/* Entry-point types, for the loader and for plugins that want to check
 * their definitions against them. */
typedef int (*zxPluginInitLibFunction)(void* zex_handle);
typedef int (*zxPluginInitFunction)(int nargs, const __zxArray** args);
typedef int (*zxPluginFiniFunction)(void);
typedef const zxFunctionEntry* (*zxPluginFunctionsFunction)(void);

#ifdef __cplusplus
}
#endif

#endif /* ZORVAT_PLUGIN_ZX_TYPES_H */
