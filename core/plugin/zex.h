/* zex.h: the C interface through which plugins make and read values.
 *
 * libzex.so (link with -lzex, CMake target zorvat::zex, pkg-config zorvat_zex)
 * lets a plugin written in C, or in any language that calls C, work with the
 * values that cross the plugin boundary as opaque handles:
 *
 *   const __zxArray*  an argument (prhs[k]) or a value read out of another
 *                     value: read-only, owned by someone else, never freed by
 *                     the plugin;
 *   __zxArray*        a value the plugin made: it belongs to the plugin until
 *                     it is stored in an output slot (plhs[k]; the core adopts
 *                     it), given to a container (zxSetCell, zxSetField: the
 *                     container adopts it), or destroyed with zxDestroyArray.
 *
 * A complete plugin function:
 *
 *   #include <plugin/zex.h>
 *
 *   static void twice(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
 *     (void)nlhs;
 *     if (nrhs != 1 || zxGetKind(prhs[0]) != zxKindDouble) {
 *       zxError("demo::twice: expected one double array");
 *       return;
 *     }
 *     __zxArray* r = zxCreateNumericArray(zxGetNumberOfDimensions(prhs[0]),
 *                                         zxGetDimensions(prhs[0]), zxKindDouble);
 *     const double* x = zxGetDoubles(prhs[0]);
 *     double* y = (double*)zxGetWritableData(r);
 *     for (long k = 0; k < zxGetNumberOfElements(r); ++k) y[k] = 2 * x[k];
 *     plhs[0] = r;
 *   }
 *
 * Errors.  Nothing may unwind across a C frame: no zex function throws.  A
 * plugin reports a failure with zxError and returns; after the plugin
 * function has returned, the environment raises the recorded message as the
 * call's error (a std::runtime_error for C++ callers).  Every misuse of a zex
 * function (a null handle, a value of the wrong kind, an index out of range,
 * a size that cannot be allocated) records a translated message the same way
 * and gives the documented failure result (null, 0, -1 or NaN), so the
 * plugin can simply return.  Only the first error of a call is kept: it is
 * the cause, later ones are its consequences.  zxLastError and zxClearError
 * let a plugin look at and drop the pending error to handle the failure
 * itself.
 *
 * Indices are zero-based.  Arrays are column-major.  Sizes and indices are
 * `long` (64 bits on the supported platform).  Text is UTF-8; a char array
 * holds one byte per element.  Handles returned by the reading functions
 * stay valid as long as the value they were read from is not changed or
 * destroyed.  Single-threaded, like the environment.
 */
#ifndef ZORVAT_PLUGIN_ZEX_H
#define ZORVAT_PLUGIN_ZEX_H

#include <stddef.h>

#include <dlpack/dlpack.h>

#include "plugin/zx_plugin.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Kinds ---------------------------------------------------------------
 * The kind of a value, with the environment's fixed numbers.  Dense arrays
 * of a plain element type are the kinds zxKindInt8 .. zxKindLogical; the
 * element type of each is given beside it. */
typedef enum zxKind {
  zxKindError = 0,
  zxKindInt8 = 1,             /* signed char */
  zxKindInt16 = 2,            /* short */
  zxKindInt32 = 3,            /* int */
  zxKindInt64 = 4,            /* long */
  zxKindUInt8 = 5,            /* unsigned char */
  zxKindUInt16 = 6,           /* unsigned short */
  zxKindUInt32 = 7,           /* unsigned int */
  zxKindUInt64 = 8,           /* unsigned long */
  zxKindDouble = 9,           /* double */
  zxKindSingle = 10,          /* float */
  zxKindComplexDouble = 11,   /* zxComplexDouble */
  zxKindComplexSingle = 12,   /* zxComplexSingle */
  zxKindChar = 13,            /* char: one byte of UTF-8 text per element */
  zxKindLogical = 14,         /* zxLogical */
  zxKindFunctionHandle = 15,
  zxKindStruct = 16,
  zxKindString = 17,          /* arrays of texts */
  zxKindExtern = 21,          /* an object of a plugin-defined type */
  zxKindVoid = 22,
  zxKindCell = 25,
  zxKindSparseDouble = 26,        /* sparse, values double */
  zxKindSparseSingle = 27,        /* sparse, values float */
  zxKindSparseComplexDouble = 28, /* sparse, values zxComplexDouble */
  zxKindSparseComplexSingle = 29, /* sparse, values zxComplexSingle */
  zxKindSparseLogical = 30,       /* sparse, values zxLogical */
  zxKindVariableList = 31
} zxKind;

/* Complex elements are stored interleaved: real part, then imaginary part. */
typedef struct zxComplexDouble {
  double re, im;
} zxComplexDouble;
typedef struct zxComplexSingle {
  float re, im;
} zxComplexSingle;

/* A logical element: one byte holding 0 or 1.  Write only 0 or 1 into the
 * data of a logical array; the makers below turn any non-zero into 1. */
typedef unsigned char zxLogical;

/* ---- Lifetime ------------------------------------------------------------ */

/* Destroys a value the plugin made and still owns.  Null is ignored.  Never
 * pass an argument, a value read out of another value, or a value already
 * stored in an output slot or a container. */
void zxDestroyArray(__zxArray* value);

/* A new value (owned by the plugin) equal to `value`.  The contents are
 * shared until one of the two is changed through zex, so this costs O(1);
 * use it to return an argument as a result.  Null on error. */
__zxArray* zxDuplicateArray(const __zxArray* value);

/* ---- Making values -------------------------------------------------------
 * Each maker returns a new value owned by the plugin, or null with a recorded
 * error (bad kind, negative or too large size, out of memory).  Arrays start
 * zero-filled; cells and structures start with empty 0x0 double elements. */

/* A dense array of `ndims` dimensions (at least 1; one dimension n means
 * n x 1) of kind zxKindInt8 .. zxKindLogical. */
__zxArray* zxCreateNumericArray(int ndims, const long* dims, zxKind kind);
/* The same for an m x n array. */
__zxArray* zxCreateNumericMatrix(long m, long n, zxKind kind);
/* An m x n double array, or complex double when `complex_flag` is non-zero. */
__zxArray* zxCreateDoubleMatrix(long m, long n, int complex_flag);
/* An m x n logical array. */
__zxArray* zxCreateLogicalMatrix(long m, long n);
/* 1x1 arrays. */
__zxArray* zxCreateDoubleScalar(double value);
__zxArray* zxCreateComplexScalar(double re, double im);
__zxArray* zxCreateLogicalScalar(int value); /* non-zero is true */
__zxArray* zxCreateInt64Scalar(long value);
/* A 1 x n char array holding the n bytes of the UTF-8 text (null: 1x0). */
__zxArray* zxCreateCharArray(const char* utf8);
/* A 1x1 string array holding the text (null: the empty text). */
__zxArray* zxCreateString(const char* utf8);
/* An m x n string array; texts[k] is element k in column-major order (texts
 * may be null, and so may each entry: the empty text). */
__zxArray* zxCreateStringArray(long m, long n, const char* const* texts);
/* A cell array of `ndims` dimensions / m x n, every slot empty (see
 * zxGetCell). */
__zxArray* zxCreateCellArray(int ndims, const long* dims);
__zxArray* zxCreateCellMatrix(long m, long n);
/* A structure array with `nfields` fields named names[0..nfields-1] (in that
 * order; a name given twice counts once).  Names must be non-empty. */
__zxArray* zxCreateStructArray(int ndims, const long* dims, int nfields, const char* const* names);
__zxArray* zxCreateStructMatrix(long m, long n, int nfields, const char* const* names);
/* An m x n sparse matrix of kind zxKindSparseDouble .. zxKindSparseLogical
 * from nnz triplets: entry k is values[k] at (rows[k], cols[k]); `values`
 * points at nnz elements of the kind's value type.  Entries at the same
 * position are added (logical: or-ed). */
__zxArray* zxCreateSparse(long m, long n, long nnz, const long* rows, const long* cols,
                          const void* values, zxKind kind);
/* The same from compressed columns: jc[0..n] with jc[0] = 0 and
 * non-decreasing; the entries of column j are positions jc[j] .. jc[j+1]-1
 * of ir (their rows, strictly increasing, each in 0..m-1) and of values. */
__zxArray* zxCreateSparseFromColumns(long m, long n, const long* jc, const long* ir,
                                     const void* values, zxKind kind);

/* ---- Reading values ------------------------------------------------------
 * Unless said otherwise, a null handle records an error and gives the
 * failure result. */

/* The kind of the value; zxKindError (with an error) for null. */
zxKind zxGetKind(const __zxArray* value);
/* The class name: "double", "cell", "struct", "sparse double", ..., or the
 * class name of a plugin-defined object.  The text stays valid until the
 * next call of zxGetClassName.  Null (with an error) for a null handle. */
const char* zxGetClassName(const __zxArray* value);

/* Predicates: 1 or 0; a null handle gives 0 without an error. */
int zxIsNumeric(const __zxArray* value);       /* int8 .. complex single, sparse non-logical */
int zxIsComplex(const __zxArray* value);       /* dense or sparse complex */
int zxIsDouble(const __zxArray* value);        /* double or complex double, dense */
int zxIsLogical(const __zxArray* value);       /* dense or sparse logical */
int zxIsChar(const __zxArray* value);
int zxIsString(const __zxArray* value);
int zxIsCell(const __zxArray* value);
int zxIsStruct(const __zxArray* value);
int zxIsSparse(const __zxArray* value);
int zxIsEmpty(const __zxArray* value);         /* an array with no element */
int zxIsScalar(const __zxArray* value);        /* exactly one element */
/* Whether the class name is `name`. */
int zxIsClass(const __zxArray* value, const char* name);

/* Number of dimensions (at least 2) and the dimensions themselves (valid
 * while the value is unchanged).  A value that is not an array (a function
 * handle, a plugin object, ...) counts as 1x1.  0 / null on error. */
int zxGetNumberOfDimensions(const __zxArray* value);
const long* zxGetDimensions(const __zxArray* value);
/* Rows, and columns times all further dimensions; -1 on error. */
long zxGetM(const __zxArray* value);
long zxGetN(const __zxArray* value);
/* Number of elements (a sparse matrix: rows times columns); -1 on error. */
long zxGetNumberOfElements(const __zxArray* value);

/* The elements of a dense array of kind zxKindInt8 .. zxKindLogical, in
 * column-major order, of the element type of the kind (complex interleaved
 * as stored).  Null on error; also null, without an error, for an empty
 * array.  An array whose elements are packed in column-major order is read
 * in place, wherever it starts in its storage; one with gaps between its
 * elements (a strided view that the host made) is refused: its elements are
 * not one run. */
const void* zxGetData(const __zxArray* value);
/* The same for a value the plugin made, for writing.  Contents shared with
 * another value (after zxDuplicateArray) or another array, and elements with
 * gaps between them, are first copied into a packed array of the value's own:
 * never refused for its layout. */
void* zxGetWritableData(__zxArray* value);
/* Typed forms: the kind must be exactly double / complex double. */
const double* zxGetDoubles(const __zxArray* value);
const zxComplexDouble* zxGetComplexDoubles(const __zxArray* value);

/* The first element of a dense numeric, char or logical array as a double
 * (of a complex one: the real part).  NaN (with an error) for an empty
 * array or another kind. */
double zxGetScalar(const __zxArray* value);

/* Copies the text of a char array with one row (or empty) or of a 1x1 string
 * array into buf (at most size-1 bytes and a terminating 0; nothing is
 * written when size is 0).  Returns the full length of the text, so a result
 * >= size means it was cut; -1 on error. */
long zxGetString(const __zxArray* value, char* buf, size_t size);
/* The same for element `index` of a string array. */
long zxGetStringElement(const __zxArray* value, long index, char* buf, size_t size);

/* Element `index` of a cell array (0 <= index < number of elements).  An
 * empty slot (a new or grown cell's, which holds no value) reads as an empty
 * 0x0 double shared by all such slots: never null without an error. */
const __zxArray* zxGetCell(const __zxArray* cell, long index);

/* Number of fields of a structure array; -1 on error. */
int zxGetNumberOfFields(const __zxArray* s);
/* The name of field number k (creation order), valid while the structure
 * is unchanged; null on error. */
const char* zxGetFieldNameByNumber(const __zxArray* s, int k);
/* The number of the field `name`, or -1 (without an error) if there is none. */
int zxGetFieldNumber(const __zxArray* s, const char* name);
/* Field `name` of record `index`; null without an error when the field does
 * not exist, null with an error for a bad index or handle. */
const __zxArray* zxGetField(const __zxArray* s, long index, const char* name);
/* Field number k of record `index`. */
const __zxArray* zxGetFieldByNumber(const __zxArray* s, long index, int k);

/* The arrays of a sparse matrix in compressed columns (n = columns):
 *   zxGetJc: n+1 column starts;  zxGetJcEnd: n column ends;
 *   zxGetIr: the row of each stored value;  zxGetSparseValues: the values
 *   (of the kind's value type).
 * The entries of column j are the positions jc[j] .. jcEnd[j]-1, rows
 * increasing.  A matrix may keep unused room behind a column's entries, so
 * jcEnd[j] can be less than jc[j+1]; for matrices made by zex they are equal.
 * Null on error. */
const long* zxGetJc(const __zxArray* sparse);
const long* zxGetJcEnd(const __zxArray* sparse);
const long* zxGetIr(const __zxArray* sparse);
const void* zxGetSparseValues(const __zxArray* sparse);
/* Number of stored entries (the room behind them not counted); -1 on error. */
long zxGetNnz(const __zxArray* sparse);

/* ---- Changing values the plugin made --------------------------------------
 * Each returns 0 on success and -1 with a recorded error. */

/* Stores `element` at `index` of the cell.  The cell adopts `element` in
 * every case, also when the call fails (it is then destroyed): the plugin
 * must not use it afterwards.  A null element stores an empty 0x0 double. */
int zxSetCell(__zxArray* cell, long index, __zxArray* element);
/* Stores `element` in field `name` of record `index`, adding the field when
 * it is missing.  Adopts `element` like zxSetCell. */
int zxSetField(__zxArray* s, long index, const char* name, __zxArray* element);
/* Adds an empty field (an existing one stays as it is).  Returns the field's
 * number, -1 on error. */
int zxAddField(__zxArray* s, const char* name);
/* Removes a field; a missing one is not an error. */
int zxRemoveField(__zxArray* s, const char* name);
/* New dimensions for a dense array, cell, structure array (any number of
 * dimensions) or sparse matrix (two).  Elements whose subscripts still fit
 * keep their place; new ones are zero, empty slots of a cell (see
 * zxGetCell), or empty values of a structure. */
int zxResize(__zxArray* value, int ndims, const long* dims);

/* ---- Errors ---------------------------------------------------------------- */

/* Records the error of the running plugin call, formatted as printf does.
 * The plugin function should return right after; the environment then
 * raises the message.  Ignored when an error is already pending. */
void zxError(const char* fmt, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
/* The pending error's text, or null when nothing is pending.  Valid until
 * the next zex call. */
const char* zxLastError(void);
/* Forgets the pending error (the plugin handled the failure itself). */
void zxClearError(void);

/* ---- Services of the environment ------------------------------------------ */

/* Prints the text, formatted as printf does, to the environment's console. */
void zxPrintf(const char* fmt, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
/* Calls the function `name` of the environment with nrhs arguments and
 * stores its first nlhs results in plhs[0..nlhs-1] (new values owned by the
 * plugin; the slots are set to null first).  The function is called even
 * with nlhs 0.  Returns 0 on success; -1 with an error recorded when the
 * callee fails (its message) or fewer than nlhs results came back (as when
 * the host offers no "feval" service); no result is kept then.  Clear the
 * error with zxClearError to carry on. */
int zxCallFunction(const char* name, int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs);

/* ---- Sharing arrays with other libraries (DLPack) --------------------------
 * DLPack 0.6 (<dlpack/dlpack.h>, Debian libdlpack-dev) describes an array in
 * one library's memory so that another library can use it in place.  A
 * dense array of kind zxKindInt8 .. zxKindComplexSingle or zxKindLogical
 * crosses without copying: integers, single and double, complex (interleaved)
 * with their DLPack type codes and sizes; logical as an 8-bit unsigned
 * integer, since DLPack 0.6 has no boolean code (it comes back as uint8).
 * Shape and strides count elements; an exported tensor always gives its
 * strides (arrays are column-major) and lies on the CPU device.  The
 * consumer of a tensor calls its deleter exactly once when it is done. */

/* A tensor over the elements of `value`, for reading only: the value belongs
 * to someone else (an argument, an element of another value), and DLPack
 * 0.6 has no read-only flag, so the consumer must not write through it.  To
 * let a foreign library write, duplicate the value and export the duplicate
 * with zxToDLPackWritable.  The memory stays alive until the tensor's
 * deleter is called, even after the value is gone.  Null with an error for
 * another kind or when memory runs out. */
DLManagedTensor* zxToDLPack(const __zxArray* value);
/* The same for a value the plugin made: its contents are first made its own
 * when shared with another value (as zxGetWritableData does), so writes
 * through the tensor reach this value only. */
DLManagedTensor* zxToDLPackWritable(__zxArray* value);
/* A new value (owned by the plugin) over the memory of a producer's tensor,
 * without copying: any shape, strides and byte_offset.  The tensor belongs
 * to the value from then on; its deleter is called once, when the last
 * value using the memory is gone.  Refused, with an error and a null
 * result, for a tensor that is not on the CPU, has lanes other than 1, an
 * element type without a matching kind (float16, bfloat16, bool, ...),
 * negative extents or strides, strides under which two elements could share
 * memory, a size that overflows, or a misaligned or null data pointer: the
 * tensor is then untouched and still the caller's, whose deleter the
 * caller calls (or who hands it on). */
__zxArray* zxFromDLPack(DLManagedTensor* tensor);

#ifdef __cplusplus
}
#endif

#endif /* ZORVAT_PLUGIN_ZEX_H */
