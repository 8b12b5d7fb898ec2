// Runs a fuzz target over every file of the folders (or files) given on the
// command line, so that ctest replays the saved corpus without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

void runOne(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path root(argv[i]);
    if (std::filesystem::is_directory(root)) {
      for (const auto &entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
          runOne(entry.path());
          ++count;
        }
      }
    } else if (std::filesystem::is_regular_file(root)) {
      runOne(root);
      ++count;
    }
  }
  std::printf("replayed %zu inputs\n", count);
  return count > 0 ? 0 : 1;
}
