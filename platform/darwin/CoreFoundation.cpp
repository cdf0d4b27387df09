#include "darwin/CoreFoundation.h"

#include <algorithm>

namespace zk::darwin {

namespace {

/// Fills `text` by a call that ends what it writes with a zero byte, and cuts it there.
template <class Fill>
bool fillText(std::string& text, long size, Fill fill) {
  if (size < 0) return false;
  text.resize(static_cast<std::size_t>(size) + 1);
  if (!fill(text.data(), static_cast<long>(text.size()))) return false;
  text.resize(std::min(text.find('\0'), text.size()));
  return true;
}

}  // namespace

OwnedObject makeText(const CoreFoundationFunctions& foundation, std::string_view text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  return {foundation,
          foundation.CFStringCreateWithBytes(nullptr, bytes, static_cast<long>(text.size()), kUTF8, /*isExternal=*/0)};
}

std::optional<std::string> textOf(const CoreFoundationFunctions& foundation, Object object) {
  if (object == nullptr || foundation.CFGetTypeID(object) != foundation.CFStringGetTypeID()) return std::nullopt;
  const long size = foundation.CFStringGetMaximumSizeForEncoding(foundation.CFStringGetLength(object), kUTF8);
  std::string text;
  const bool isFilled = fillText(text, size, [&](char* room, long roomSize) {
    return foundation.CFStringGetCString(object, room, roomSize, kUTF8) != 0;
  });
  if (!isFilled) return std::nullopt;
  return text;
}

std::string fileSystemForm(const CoreFoundationFunctions* foundation, std::string_view text) {
  const bool isPlain = std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
  // A zero byte inside must not cut the text short.
  if (foundation == nullptr || isPlain || text.find('\0') != std::string_view::npos) return std::string(text);
  const OwnedObject object = makeText(*foundation, text);
  if (!object) return std::string(text);
  std::string form;
  const long size = foundation->CFStringGetMaximumSizeOfFileSystemRepresentation(object.get());
  const bool isFilled = fillText(form, size, [&](char* room, long roomSize) {
    return foundation->CFStringGetFileSystemRepresentation(object.get(), room, roomSize) != 0;
  });
  return isFilled ? form : std::string(text);
}

std::vector<std::string> preferredLanguages(const CoreFoundationFunctions* foundation) {
  std::vector<std::string> languages;
  if (foundation == nullptr) return languages;
  const OwnedObject list(*foundation, foundation->CFLocaleCopyPreferredLanguages());
  const long count = list ? foundation->CFArrayGetCount(list.get()) : 0;
  for (long index = 0; index < count; ++index) {
    const std::optional<std::string> language =
        textOf(*foundation, foundation->CFArrayGetValueAtIndex(list.get(), index));
    if (language) languages.push_back(*language);
  }
  return languages;
}

}  // namespace zk::darwin
