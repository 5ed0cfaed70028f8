// Runs a fuzz target on files and on the files of folders, for compilers without libFuzzer.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  LLVMFuzzerInitialize(&argc, &argv);
  std::vector<fs::path> paths;
  for (int i = 1; i < argc; ++i) {
    if (fs::is_directory(argv[i])) {
      std::copy(fs::directory_iterator(argv[i]), fs::directory_iterator(), std::back_inserter(paths));
    } else {
      paths.emplace_back(argv[i]);
    }
  }
  std::sort(paths.begin(), paths.end());
  for (const fs::path& path : paths) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu files\n", paths.size());
  return paths.empty() ? 1 : 0;
}
