// demo.cpp: a tour of the dense array for host and plugin writers.
//
// Builds arrays of several element types, takes views that write through to
// their source, resizes arrays and writes them with operator<<.
#include <complex>
#include <iostream>

#include "zorvat.h"

using zorvat::matrix;

int main() {
  std::cout << "A 2x3 double array filled column by column:\n";
  matrix<double> a(2, 3);
  a << 1, 2, 3, 4, 5, 6;
  std::cout << a;

  std::cout << "\nIts second column as a view; writing 9 through the view:\n";
  matrix<double> col = a.view(2, 1, 2);
  col(1, 0) = 9;
  std::cout << col << "the source now:\n" << a;

  std::cout << "\nA non-contiguous view (rows 1 of every column) made contiguous:\n";
  matrix<double> row = a.view(1, 3, 1, 2, 1);
  std::cout << row.contiguous();

  std::cout << "\nThe diagonal of a 3x3 int32 array:\n";
  matrix<int> b(3, 3);
  b << 1, 2, 3, 4, 5, 6, 7, 8, 9;
  std::cout << b.diag();

  std::cout << "\nconservative_resize(3, 4) keeps the overlap and adds zeros:\n";
  b.conservative_resize(3, 4);
  std::cout << b;

  std::cout << "\nA complex single array and an int8 array of letters:\n";
  matrix<std::complex<float>> z(1, 2);
  z << std::complex<float>(1, -2), std::complex<float>(0.5f, 3);
  std::cout << z;
  matrix<signed char> s(1, 5);
  s << 'h', 'e', 'l', 'l', 'o';
  std::cout << s;

  std::cout << "\nA 2x2x2 logical array (each page header repeats the first page):\n";
  matrix<bool> l({2, 2, 2});
  l << true, false, false, true;
  std::cout << l;

  std::cout << "\nAn empty array:\n";
  std::cout << matrix<double>(0, 3);
  return 0;
}
