// dlpack.h: zero-copy exchange of dense arrays with other array libraries.
//
// DLPack (the installed header <dlpack/dlpack.h>, version 0.6) describes an
// array that lives in one library's memory so that another library can use
// it in place.  to_dlpack() lends the storage block of a matrix<T> or of a
// value to a consumer; from_dlpack() wraps a producer's tensor as a value of
// this library.  Neither copies elements, so both take the same time for any
// number of elements.
//
//   DLManagedTensor* t = zorvat::to_dlpack(v);       // v: const zo_obj&, for reading
//   other_library_consume(t);                        // calls t->deleter(t) when done
//
//   DLManagedTensor* r = other_library_result();
//   zorvat::zo_obj w = zorvat::from_dlpack(r);       // r is w's now (not on failure)
//
// Element types.  The eight integer types, single, double and both complex
// types cross with the type codes kDLInt, kDLUInt, kDLFloat and kDLComplex
// of their size.  Logical arrays leave as 8-bit unsigned integers (this
// DLPack has no boolean code) and so come back as uint8; char, string, cell
// and handle arrays, sparse matrices and other kinds do not cross.
//
// Layout.  Shape and strides count elements.  Arrays here are column-major
// views, so an exported tensor always gives its strides; an imported one
// keeps the producer's (row-major tensors become strided views here).
// A tensor of 0 or 1 dimensions comes in as 1x1 or n x 1.
//
// Who may write.  DLPack 0.6 has no read-only flag, so it is said here: a
// tensor of a value the caller may not change (a const value, a plugin's
// argument) is for reading only.  to_dlpack_writable() first gives a value
// of the caller's its own payload (copy-on-write); writes through that
// tensor then reach that value, and no other value, until one of them is
// copied on write again.  Either way the memory is shared: the tensor also
// sees later writes to the array.
#pragma once

#include <dlpack/dlpack.h>

#include "matrix/matrix.h"
#include "memory/type_lists.h"
#include "value/zo_obj.h"

namespace zorvat {

/// \brief Lends the storage block of `m` as a DLPack tensor, without copying.
///
/// The tensor points at m's first element (`data` is the block's start and
/// `byte_offset` the view's offset in bytes), on the CPU device, with m's
/// dimensions and strides in elements.  It shares the block as a view of m
/// does: writes through it show in m and in every array on the block.  The
/// block stays alive until the consumer calls `deleter`, which releases
/// exactly what the export made (one heap block and this share of the
/// storage).  An empty array without a block gives a null `data`.
///
/// T is an integer type, float, double, a complex type or bool (exported
/// as an 8-bit unsigned integer).  Throws std::bad_alloc when the heap
/// refuses; m is unchanged then.
template <class T>
DLManagedTensor* to_dlpack(const matrix<T>& m);

/// \brief Lends the array held by `v` as a DLPack tensor, for reading only.
///
/// For values that the caller may not change (a const value, a plugin's
/// argument): the consumer must not write through the tensor, as no flag of
/// DLPack 0.6 can say so.  Accepts the kinds int8 .. complex single and
/// logical; any other kind throws std::invalid_argument with a translated
/// message.  Throws std::bad_alloc when the heap refuses.
DLManagedTensor* to_dlpack(const zo_obj& v);

/// \brief Lends the array held by `v`, a value the caller owns, for writing.
///
/// First gives `v` its own payload when it shares it with other values
/// (copy_on_write), so that writes through the tensor reach `v` and no
/// other value; `v` and the tensor share the memory from then on.  Kinds and
/// errors as for to_dlpack(const zo_obj&); on failure `v` holds the same
/// elements as before.
DLManagedTensor* to_dlpack_writable(zo_obj& v);

/// \brief Wraps a producer's DLPack tensor as a value, without copying.
///
/// The value's array looks at the producer's memory through the tensor's
/// shape, strides and `byte_offset`.  Copies of the value share it; copying
/// the array itself (copy-on-write, matrix copies) copies the elements, as
/// for every array.  The tensor's `deleter` (when not null) is called
/// exactly once, when the last array that uses the memory is gone.
///
/// Refused with std::invalid_argument and a translated message, leaving the
/// tensor untouched and the caller its owner (who then calls its deleter or
/// hands it on): a null tensor; a device other than the CPU; lanes other
/// than 1; an element type without a matching element type here (float16,
/// bfloat16, opaque handles, ...); a negative number of dimensions, a
/// negative extent or stride; strides under which two elements could share
/// memory (sorted by stride, each dimension must step over the whole of the
/// ones before it); a size that overflows (the extents times the strides,
/// summed, in bytes, must fit a signed 64-bit integer and the address
/// space after the first element); a null `data` or `shape` where
/// elements or dimensions exist; a first element not aligned for its type.
/// std::bad_alloc when the heap refuses, with the tensor untouched too.
zo_obj from_dlpack(DLManagedTensor* t);

/// \brief The same as from_dlpack() for a tensor whose element type must be
/// exactly T (an integer type, float, double or a complex type); another
/// element type is refused like an unknown one.
template <class T>
matrix<T> matrix_from_dlpack(DLManagedTensor* t);

#define ZORVAT_EXTERN_TO_DLPACK(T) extern template DLManagedTensor* to_dlpack<T>(const matrix<T>&);
ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_EXTERN_TO_DLPACK)
#undef ZORVAT_EXTERN_TO_DLPACK

#define ZORVAT_EXTERN_FROM_DLPACK(T) extern template matrix<T> matrix_from_dlpack<T>(DLManagedTensor*);
ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_EXTERN_FROM_DLPACK)
ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_EXTERN_FROM_DLPACK)
#undef ZORVAT_EXTERN_FROM_DLPACK

}  // namespace zorvat
