#!/usr/bin/env bash
# Line and branch coverage of core/ by the tests (gcovr), in build-cov/ built
# with --coverage at -O0 (release checks: NDEBUG), the fuzz targets' committed
# inputs replayed with the tests.  Prints the figures and fails when either is
# below its floor.  Two kinds of branch are not counted (gcovr 5.2):
#  - --exclude-throw-branches: the edges by which a call may throw (nearly
#    every call in C++); what a test must reach is the throw itself.
#  - --exclude-unreachable-branches: branches on lines with nothing but braces
#    or blanks, which are the compiler's (the destructors of a block's locals
#    running at its closing brace), not a decision in the source; this drops
#    about 30 of 4700.
# gcov 12 writes the "(throw)" mark only in blocks that ran; in a block or
# instantiation that never ran, the exceptional edge of each call shows as a
# plain branch, so --exclude-throw-branches would still count it.  gcovr
# therefore runs gcov through tools/gcov_throw_marks.py, which restores the
# marks from gcov's own JSON output (counts unchanged).  The figure without
# that correction is printed first, for the record.
# Nothing else is excluded: no exclusion markers in the source.
# Branch figures count every instantiation of a template on its own (gcov
# adds their branches up per line), so a condition inside code instantiated
# for seventeen element types weighs seventeen times.
#   tools/coverage.sh           the summary, checked against the floors
#   tools/coverage.sh --html    also build-cov/coverage/index.html, per line
# The floors are a ratchet: raise them when coverage rises.  They were set
# again when core/io joined (its file-format readers add many rarely taken
# error branches, the libmatio and HDF5 ones hard to reach with valid files):
# the figures of the whole core then were 97.6 % of 5859 lines and 82.6 % of
# 7059 branches, and the floors sit just below them.
set -euo pipefail
cd "$(dirname "$0")/.."
line_floor=97
branch_floor=80
bash tools/setup.sh coverage

dir=build-cov
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=None -DZORVAT_BUILD_BENCH=OFF \
  -DCMAKE_C_FLAGS="-O0 -g -DNDEBUG --coverage" -DCMAKE_CXX_FLAGS="-O0 -g -DNDEBUG --coverage" \
  -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage \
  -DCMAKE_MODULE_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$dir" -j"$(nproc)"
find "$dir" -name '*.gcda' -delete
# The install test adds nothing to core/'s coverage (it runs the same code as
# the others from an installed copy) and takes long: left out here.
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" -E '^install_consumer$'

# CMake's compiler probes leave notes of their own: not ours.
find "$dir/CMakeFiles" -path '*CompilerId*' -name '*.gc*' -delete
report=(--txt "$dir/coverage.txt")
[ "${1:-}" = "--html" ] && mkdir -p "$dir/coverage" && report+=(--html-details "$dir/coverage/index.html")
common=(--root . --object-directory "$dir" --filter 'core/' --exclude-throw-branches --exclude-unreachable-branches
  -j"$(nproc)")
echo "without the throw marks of blocks that never ran:"
gcovr "${common[@]}" --print-summary -o /dev/null | grep '^branches'
gcovr "${common[@]}" --gcov-executable "python3 $PWD/tools/gcov_throw_marks.py" --print-summary "${report[@]}" \
  --fail-under-line "$line_floor" --fail-under-branch "$branch_floor"
