// Calls of zo_obj's constructors with a pointer alone.  ZORVAT_CASE 0 holds
// the calls that must compile (a text, an external object, payloads with
// their kind); every other case one that must not: a payload pointer without
// its kind, which would otherwise convert to bool.
#include "matrix/matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
#include "value/zo_obj.h"

using namespace zorvat;

class tool : public extern_obj_base {};

int main() {
#if ZORVAT_CASE == 0
  char text[] = "abc";
  zo_obj a(text), b("abc"), c(new tool), d(type_cell, new cell_array(2, 1)), e(type_double, new matrix<double>());
  return a.type + b.type + c.type + d.type + e.type > 0 ? 0 : 1;
#elif ZORVAT_CASE == 1
  zo_obj v(new cell_array(2, 1));
#elif ZORVAT_CASE == 2
  zo_obj v(new matrix<double>(2, 2));
#elif ZORVAT_CASE == 3
  const structure s;
  zo_obj v(&s);
#elif ZORVAT_CASE == 4
  const zo_obj w;
  zo_obj v = &w;
#endif
  return 0;
}
