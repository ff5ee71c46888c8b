// extern_obj_base.h: the base class of objects that plugins put into values
// (kind 21).
//
// A plugin derives its object class from extern_obj_base and hands a heap
// object to zo_obj(const extern_obj_base*); the value owns it from then on and
// deletes it through the virtual destructor when the last sharing value goes.
//
//   class counter : public zorvat::extern_obj_base {
//    public:
//     extern_obj_base* dup() const override { return new counter(*this); }
//     std::string classname() const override { return "counter"; }
//     int type_id() const override { return my_type_id; }  // from the plugin manager
//     long n = 0;
//   };
//   zorvat::zo_obj v(new counter);           // "1x1 counter"
//
// The order of the virtual operations is part of the plugin interface:
// dup, the destructor, to_string, classname, type_id.
#pragma once

#include <string>

namespace zorvat {

class extern_obj_base {
 public:
  extern_obj_base() = default;
  extern_obj_base(const extern_obj_base&) = default;
  extern_obj_base& operator=(const extern_obj_base&) = default;

  // A new heap copy of the object, used when a write detaches a shared value.
  // The base returns null: a class that does not override dup() ends as a null
  // payload after such a write (intended).
  virtual extern_obj_base* dup() const;
  virtual ~extern_obj_base();
  // Display text; the base gives the empty text.
  virtual std::string to_string() const;
  // The class name shown in summaries ("1x1 <classname>"); the base gives
  // "extern object".
  virtual std::string classname() const;
  // The type identifier that operator dispatch keys on.  The base gives 21
  // (type_extern); a plugin's class returns the identifier that the plugin
  // manager handed out for it.
  virtual int type_id() const;
};

}  // namespace zorvat
