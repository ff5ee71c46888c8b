// container_base.h: the shape interface shared by cell arrays and structures.
//
// Code that only needs the shape of a composite value (the display, size
// summaries) asks through this base without knowing which kind it holds.
// copy_on_write_each() detaches every element value so that the container owns
// all element payloads (used by zo_obj::copy_on_write(true)).
#pragma once

#include <vector>

namespace zorvat {

class zo_obj;

class container_base {
 public:
  virtual long rows() const = 0;
  virtual long cols() const = 0;
  // The third extent; 1 for two dimensions.
  virtual long pages() const = 0;
  virtual long ndims() const = 0;
  // 1 past the last dimension.
  virtual long dim(long k) const = 0;
  virtual const std::vector<long>& dim_vec() const = 0;
  virtual void copy_on_write_each() = 0;
  // The first step of copy_on_write_each() without its recursion: every
  // element value object shared with someone else is replaced by a copy of
  // it, and every non-null element is appended to `work` for its own
  // copy_on_write(true).
  virtual void detach_elements(std::vector<zo_obj*>& work) = 0;
  virtual ~container_base() = default;

 protected:
  container_base() = default;
  container_base(const container_base&) = default;
  container_base& operator=(const container_base&) = default;
};

}  // namespace zorvat
