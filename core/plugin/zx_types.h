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

/* Operator identifiers.  The values are fixed by the ABI. */
typedef enum zxOperatorID {
  zxOpPlus = 1,          /* "+"   binary */
  zxOpMinus = 2,         /* "-"   binary */
  zxOpElemMul = 3,       /* ".*"  binary */
  zxOpElemRDiv = 4,      /* "./"  binary */
  zxOpElemLDiv = 5,      /* ".\"  binary */
  zxOpMul = 6,           /* "*"   binary */
  zxOpRDiv = 7,          /* "/"   binary */
  zxOpLDiv = 8,          /* "\"   binary */
  zxOpElemPow = 9,       /* ".^"  binary */
  zxOpPow = 10,          /* "^"   binary */
  zxOpLt = 11,           /* "<"   binary */
  zxOpGt = 12,           /* ">"   binary */
  zxOpLe = 13,           /* "<="  binary */
  zxOpGe = 14,           /* ">="  binary */
  zxOpNe = 15,           /* "~="  binary */
  zxOpEq = 16,           /* "=="  binary */
  zxOpAnd = 17,          /* "&"   binary */
  zxOpOr = 18,           /* "|"   binary */
  zxOpHorzCat = 19,      /* "[,]" any number of operands */
  zxOpVertCat = 20,      /* "[;]" any number of operands */
  zxOpUMinus = 21,       /* "u-"  unary */
  zxOpUPlus = 22,        /* "u+"  unary */
  zxOpNot = 23,          /* "~"   unary */
  zxOpTranspose = 24,    /* ".'"  unary */
  zxOpCTranspose = 25,   /* "'"   unary */
  zxOpSubsindex = 26,    /* "subsindex" unary */
  zxOpSubsref = 27,      /* "subsref"   binary */
  zxOpSubsasgn = 28      /* "subsasgn"  ternary */
} zxOperatorID;

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
