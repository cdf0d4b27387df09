#include "plist/BinaryReader.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <optional>
#include <vector>

#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSDictionary.h"
#include "objects/NSNull.h"
#include "objects/NSNumber.h"
#include "plist/Nesting.h"
#include "plist/TextEncoding.h"

namespace zk {

namespace {

constexpr std::size_t kHeaderLength = 8;
constexpr std::size_t kTrailerLength = 32;
constexpr std::size_t kWidestReference = 8;

/// How many bytes the keys of all dictionaries may have together; a shared key counts for each dictionary. Sorting
/// reads the keys, and very many small dictionaries can share one key as long as half the document.
constexpr std::size_t kMostKeyBytes = std::size_t{64} << 20;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

/// The unsigned number in 1 to 16 bytes; absent if it does not fit into 64 bits.
Ref<NSNumber> unsignedInteger(std::string_view bytes) {
  const std::size_t low = bytes.size() - std::min<std::size_t>(bytes.size(), 8);
  const std::uint64_t value = bigEndian(bytes.substr(low));
  if (bigEndian(bytes.substr(0, low)) != 0) return nullptr;
  if (value > std::uint64_t{std::numeric_limits<std::int64_t>::max()})
    return NSNumber::numberWithUnsignedLongLong(value);
  return NSNumber::numberWithLongLong(static_cast<std::int64_t>(value));
}

/// The number in an integer object: unsigned in up to 4 bytes, two's complement in 8 and 16.
Ref<NSNumber> integer(std::string_view bytes) {
  const bool isNegative = bytes.size() >= 8 && static_cast<signed char>(bytes.front()) < 0;
  if (!isNegative) return unsignedInteger(bytes);
  const auto value = static_cast<std::int64_t>(bigEndian(bytes.substr(bytes.size() - 8)));
  const bool isSignExtended = bytes.size() == 8 || (bigEndian(bytes.substr(0, 8)) == ~std::uint64_t{0} && value < 0);
  return isSignExtended ? NSNumber::numberWithLongLong(value) : nullptr;
}

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view document) : document_(document) {}

  Ref<NSObject> read();

 private:
  /// What is known about the object with one index.
  struct Slot {
    Ref<NSObject> object;
    unsigned height = 0;  ///< in levels of containers
    bool isBegun = false;
  };

  bool readTrailer();
  Ref<NSObject> objectAt(std::uint64_t index, unsigned levels, unsigned& heightOfHolder);
  Ref<NSObject> build(std::string_view bytes, unsigned levels, unsigned& height);
  Ref<NSObject> buildReal(std::string_view bytes, std::size_t width);
  Ref<NSObject> buildString(unsigned kind, std::string_view bytes, std::uint64_t count);
  Ref<NSObject> buildUID(std::string_view bytes, std::size_t width, unsigned levels, unsigned& height);
  Ref<NSObject> buildArray(std::string_view bytes, std::uint64_t count, unsigned levels, unsigned& height);
  Ref<NSObject> buildDictionary(std::string_view bytes, std::uint64_t count, unsigned levels, unsigned& height);

  std::optional<std::string_view> take(std::string_view& bytes, std::uint64_t count, std::size_t size = 1);
  std::optional<std::uint64_t> takeCount(std::string_view& bytes, unsigned marker);
  std::uint64_t reference(std::string_view references, std::size_t place) const {
    return bigEndian(references.substr(place * referenceSize_, referenceSize_));
  }

  std::string_view document_;
  /// How many bytes of objects may still be read. The objects of a sound document do not overlap; in a hostile one
  /// every array could claim the same references.
  std::size_t unread_ = 0;
  std::size_t keyBytes_ = 0;

  std::string_view offsets_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t top_ = 0;

  std::vector<Slot> slots_;
};

Ref<NSObject> BinaryReader::read() {
  unsigned height = 0;
  return readTrailer() ? objectAt(top_, kDeepestNesting, height) : nullptr;
}

bool BinaryReader::readTrailer() {
  if (document_.size() < kHeaderLength + kTrailerLength) return false;
  const std::size_t end = document_.size() - kTrailerLength;
  const std::string_view trailer = document_.substr(end);
  offsetSize_ = bigEndian(trailer.substr(6, 1));
  referenceSize_ = bigEndian(trailer.substr(7, 1));
  const std::uint64_t objectCount = bigEndian(trailer.substr(8, 8));
  top_ = bigEndian(trailer.substr(16, 8));
  const std::uint64_t offsetTable = bigEndian(trailer.substr(24, 8));

  const auto isWidth = [](std::size_t size) { return size >= 1 && size <= kWidestReference; };
  if (!isWidth(offsetSize_) || !isWidth(referenceSize_)) return false;
  if (offsetTable > end || objectCount > (end - offsetTable) / offsetSize_) return false;
  // Objects do not overlap, so there cannot be more of them than an offset has values.
  if (offsetSize_ < 4 && objectCount > std::uint64_t{1} << 8 * offsetSize_) return false;
  offsets_ = document_.substr(offsetTable, objectCount * offsetSize_);
  document_ = document_.substr(0, offsetTable);
  unread_ = document_.size();
  slots_.resize(objectCount);
  return true;
}

/// The object with that index, built on first use. `heightOfHolder` becomes at least the object's own height. Absent if
/// the object is malformed, is still being built (it contains itself), or has more than `levels` levels of containers.
Ref<NSObject> BinaryReader::objectAt(std::uint64_t index, unsigned levels, unsigned& heightOfHolder) {
  if (index >= slots_.size()) return nullptr;
  Slot& slot = slots_[index];
  if (!slot.isBegun) {
    const std::uint64_t offset = bigEndian(offsets_.substr(index * offsetSize_, offsetSize_));
    if (offset < kHeaderLength || offset >= document_.size()) return nullptr;
    slot.isBegun = true;
    slot.object = build(document_.substr(offset), levels, slot.height);
  }
  heightOfHolder = std::max(heightOfHolder, slot.height);
  return slot.height <= levels ? slot.object : nullptr;
}

/// Cuts `count` items of `size` bytes off the front of `bytes`; nothing if there are fewer.
std::optional<std::string_view> BinaryReader::take(std::string_view& bytes, std::uint64_t count, std::size_t size) {
  if (count > std::min(bytes.size(), unread_) / size) return std::nullopt;
  const std::string_view taken = bytes.substr(0, count * size);
  bytes.remove_prefix(taken.size());
  unread_ -= taken.size();
  return taken;
}

/// The count in the low half of a marker; 15 means that it follows as an integer object.
std::optional<std::uint64_t> BinaryReader::takeCount(std::string_view& bytes, unsigned marker) {
  constexpr unsigned kCountFollows = 0x0F;
  if ((marker & 0x0F) != kCountFollows) return marker & 0x0F;
  const auto countMarker = take(bytes, 1);
  if (!countMarker || bigEndian(*countMarker) < 0x10 || bigEndian(*countMarker) > 0x13) return std::nullopt;
  const auto count = take(bytes, std::uint64_t{1} << (bigEndian(*countMarker) & 0x0F));
  return count ? std::optional(bigEndian(*count)) : std::nullopt;
}

Ref<NSObject> BinaryReader::build(std::string_view bytes, unsigned levels, unsigned& height) {
  const auto marker = take(bytes, 1);
  if (!marker) return nullptr;
  const auto value = static_cast<unsigned>(bigEndian(*marker));
  const unsigned low = value & 0x0F;
  switch (value >> 4) {
    case 0x0:
      if (low == 0) return NSNull::null();
      return low == 8 || low == 9 ? NSNumber::numberWithBool(low == 9) : nullptr;
    case 0x1: {
      const auto number = low <= 4 ? take(bytes, std::uint64_t{1} << low) : std::nullopt;
      return number ? integer(*number) : nullptr;
    }
    case 0x2:
      return low == 2 || low == 3 ? buildReal(bytes, std::size_t{1} << low) : nullptr;
    case 0x3: {
      const auto seconds = low == 3 ? take(bytes, 8) : std::nullopt;
      return seconds ? NSDate::dateWithTimeIntervalSinceReferenceDate(std::bit_cast<double>(bigEndian(*seconds)))
                     : nullptr;
    }
    case 0x8:
      return buildUID(bytes, low + 1, levels, height);
    default:
      break;
  }

  const auto count = takeCount(bytes, value);
  if (!count) return nullptr;
  switch (value >> 4) {
    case 0x4: {
      const auto content = take(bytes, *count);
      return content ? NSData::dataWithBytes(*content) : nullptr;
    }
    case 0x5:
    case 0x6:
    case 0x7:
      return buildString(value >> 4, bytes, *count);
    case 0xA:
    case 0xB:
    case 0xC:
      return buildArray(bytes, *count, levels, height);
    case 0xD:
      return buildDictionary(bytes, *count, levels, height);
    default:
      return nullptr;
  }
}

Ref<NSObject> BinaryReader::buildReal(std::string_view bytes, std::size_t width) {
  const auto real = take(bytes, width);
  if (!real) return nullptr;
  const std::uint64_t bits = bigEndian(*real);
  return NSNumber::numberWithDouble(width == 8 ? std::bit_cast<double>(bits)
                                               : double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))});
}

Ref<NSObject> BinaryReader::buildString(unsigned kind, std::string_view bytes, std::uint64_t count) {
  const auto content = take(bytes, count, kind == 6 ? 2 : 1);
  if (!content) return nullptr;
  // 5 is ASCII, 6 is UTF-16, most significant byte first, 7 is UTF-8.
  if (kind == 6) return textFromPropertyList(utf8FromUTF16(*content, ByteOrder::BigEndian));
  const bool isWellFormed = kind == 5 ? isASCII(*content) : isUTF8(*content);
  return isWellFormed ? textFromPropertyList(std::string(*content)) : nullptr;
}

Ref<NSObject> BinaryReader::buildUID(std::string_view bytes, std::size_t width, unsigned levels, unsigned& height) {
  const auto content = take(bytes, width);
  const Ref<NSNumber> number = content ? unsignedInteger(*content) : nullptr;
  if (!number || levels == 0) return nullptr;
  ++height;
  return NSDictionary::dictionaryWithEntries({{"CF$UID"_ns, number}});
}

Ref<NSObject> BinaryReader::buildArray(std::string_view bytes, std::uint64_t count, unsigned levels, unsigned& height) {
  const auto references = take(bytes, count, referenceSize_);
  if (!references || levels == 0) return nullptr;
  std::vector<Ref<NSObject>> objects;
  objects.reserve(count);
  for (std::size_t place = 0; place < count; ++place) {
    objects.push_back(objectAt(reference(*references, place), levels - 1, height));
    if (!objects.back()) return nullptr;
  }
  ++height;
  return NSArray::arrayWithObjects(std::move(objects));
}

/// The references to all keys come before those to the objects.
Ref<NSObject> BinaryReader::buildDictionary(std::string_view bytes, std::uint64_t count, unsigned levels,
                                            unsigned& height) {
  const auto references = take(bytes, count, 2 * referenceSize_);
  if (!references || levels == 0) return nullptr;
  std::vector<NSDictionary::Entry> entries;
  entries.reserve(count);
  for (std::size_t place = 0; place < count; ++place) {
    entries.push_back({asString(objectAt(reference(*references, place), levels - 1, height)),
                       objectAt(reference(*references, count + place), levels - 1, height)});
    const auto& [key, object] = entries.back();
    if (!key || !object) return nullptr;
    keyBytes_ += key->length();
    if (keyBytes_ > kMostKeyBytes) return nullptr;
  }
  ++height;
  return NSDictionary::dictionaryWithEntries(std::move(entries));
}

}  // namespace

Ref<NSObject> readBinaryPropertyList(std::string_view document) { return BinaryReader(document).read(); }

}  // namespace zk
