// Runs a fuzz target over files instead of fuzzing: each argument is an input
// file or a folder of them. The plain and sanitizer builds link every target
// with this driver, so CI replays the seed corpora and every past finding
// without a fuzzing compiler.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {
int runFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
    return 1;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return 0;
}
} // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize)
    LLVMFuzzerInitialize(&argc, &argv);
  int failures = 0, inputs = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path arg(argv[i]);
    std::error_code ec;
    if (std::filesystem::is_directory(arg, ec)) {
      std::vector<std::filesystem::path> files;
      for (const auto& entry : std::filesystem::recursive_directory_iterator(arg, ec))
        if (entry.is_regular_file())
          files.push_back(entry.path());
      std::sort(files.begin(), files.end()); // the same order on every machine
      for (const auto& f : files) {
        failures += runFile(f);
        ++inputs;
      }
    } else if (std::filesystem::exists(arg, ec)) {
      failures += runFile(arg);
      ++inputs;
    }
  }
  std::printf("replayed %d inputs\n", inputs);
  return failures == 0 && inputs > 0 ? 0 : 1;
}
