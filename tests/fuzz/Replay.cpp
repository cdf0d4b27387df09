// The main function of a fuzz target in a build without the fuzzer: runs it on every file of the folders given.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
  std::size_t replayed = 0;
  for (int index = 1; index < count; ++index) {
    for (const auto& file : std::filesystem::directory_iterator(arguments[index])) {
      std::printf("%s\n", file.path().c_str());
      std::fflush(stdout);  // names the input that ends the program
      std::ifstream stream(file.path(), std::ios::binary);
      const std::string content((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
      ++replayed;
    }
  }
  return replayed == 0 ? 1 : 0;
}
