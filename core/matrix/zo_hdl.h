// zo_hdl.h: the element of handle arrays (kind 19, matrix<zo_hdl_t>).
//
// The core only stores and copies handles; what a handle designates is the
// host's business.  The record is trivially copyable, and a default handle has
// the id 0.
#pragma once

namespace zorvat {

struct zo_hdl_t {
  long id = 0;
  friend bool operator==(const zo_hdl_t& a, const zo_hdl_t& b) { return a.id == b.id; }
  friend bool operator!=(const zo_hdl_t& a, const zo_hdl_t& b) { return a.id != b.id; }
};

}  // namespace zorvat
