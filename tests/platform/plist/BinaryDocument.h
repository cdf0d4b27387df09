#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zk::test {

/// `value` in `width` bytes, most significant first.
inline std::string bigEndian(unsigned long long value, std::size_t width) {
  std::string bytes(width, '\0');
  for (std::size_t place = width; place > 0; --place, value >>= 8) bytes[place - 1] = static_cast<char>(value & 0xFF);
  return bytes;
}

struct BinaryLayout {
  std::size_t offsetSize = 1;
  std::size_t referenceSize = 1;
  std::size_t top = 0;
  std::string_view header = "bplist00";
};

/// The 32 bytes at the end of a binary property list.
inline std::string binaryTrailer(const BinaryLayout& layout, unsigned long long objectCount,
                                 unsigned long long offsetTable) {
  return std::string(6, '\0') + bigEndian(layout.offsetSize, 1) + bigEndian(layout.referenceSize, 1) +
         bigEndian(objectCount, 8) + bigEndian(layout.top, 8) + bigEndian(offsetTable, 8);
}

/// A binary property list of `objects`, each given as its bytes; the first is the top one.
inline std::string binaryDocument(const std::vector<std::string>& objects, const BinaryLayout& layout = {}) {
  std::string document(layout.header);
  std::string offsets;
  for (const std::string& object : objects) {
    offsets += bigEndian(document.size(), layout.offsetSize);
    document += object;
  }
  const std::size_t offsetTable = document.size();
  return document + offsets + binaryTrailer(layout, objects.size(), offsetTable);
}

}  // namespace zk::test
