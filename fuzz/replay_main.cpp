// A stand-in for libFuzzer's driver, so that the fuzz targets build with any
// compiler and their committed inputs run as ordinary tests: every file named
// on the command line, and every regular file in every folder named, is read
// whole and passed once to LLVMFuzzerTestOneInput (no fuzzing).  A target
// reports a fault by aborting; a path that cannot be read fails the run.
//   fuzz_text_utils fuzz/corpus/text_utils fuzz/regressions/text_utils
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

static bool replay(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return false;
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return true;
}

int main(int argc, char** argv) {
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    std::error_code ec;
    if (fs::is_directory(argv[i], ec)) {
      for (const auto& e : fs::directory_iterator(argv[i], ec))
        if (e.is_regular_file()) files.push_back(e.path());
    } else {
      files.emplace_back(argv[i]);
    }
    if (ec) {
      std::fprintf(stderr, "replay: cannot list %s: %s\n", argv[i], ec.message().c_str());
      return 1;
    }
  }
  std::sort(files.begin(), files.end());  // a stable order, so a failure replays alike
  for (const auto& f : files) {
    if (!replay(f)) {
      std::fprintf(stderr, "replay: cannot read %s\n", f.c_str());
      return 1;
    }
  }
  std::printf("replay: %zu inputs\n", files.size());
  return 0;
}
