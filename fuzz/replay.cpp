// Hands each file below the directories named to a fuzz target, as the fuzzer would: what was once
// found stays found, with any compiler.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesBelow(const char* directory) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

void replay(const std::filesystem::path& file) {
  std::fprintf(stderr, "%s\n", file.filename().c_str());  // the last line names a crash's cause
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  std::size_t replayed = 0;
  try {
    for (int i = 1; i < count; ++i) {
      for (const auto& file : filesBelow(arguments[i])) {
        replay(file);
        ++replayed;
      }
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  std::printf("%zu files replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
}
