#include "plist/BinaryReader.h"

#include <algorithm>
#include <bit>
#include <deque>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>
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

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

/// The number that 1 to 16 bytes hold without a sign; absent when 64 bits cannot hold it.
Ref<NSNumber> unsignedInteger(std::string_view bytes) {
  const std::size_t low = bytes.size() - std::min<std::size_t>(bytes.size(), 8);
  const std::uint64_t value = bigEndian(bytes.substr(low));
  if (bigEndian(bytes.substr(0, low)) != 0) return nullptr;
  if (value > std::uint64_t{std::numeric_limits<std::int64_t>::max()})
    return NSNumber::numberWithUnsignedLongLong(value);
  return NSNumber::numberWithLongLong(static_cast<std::int64_t>(value));
}

/// The number of an integer object: without a sign in up to 4 bytes, in two's complement in 8 and 16.
Ref<NSNumber> integer(std::string_view bytes) {
  const bool isNegative = bytes.size() >= 8 && static_cast<signed char>(bytes.front()) < 0;
  if (!isNegative) return unsignedInteger(bytes);
  const auto value = static_cast<std::int64_t>(bigEndian(bytes.substr(bytes.size() - 8)));
  const bool isSignExtended = bytes.size() == 8 || (bigEndian(bytes.substr(0, 8)) == ~std::uint64_t{0} && value < 0);
  return isSignExtended ? NSNumber::numberWithLongLong(value) : nullptr;
}

/// Kind 5 is ASCII, 6 is UTF-16, most significant byte first, 7 is UTF-8.
bool isTextMarker(char marker) {
  const unsigned kind = static_cast<unsigned char>(marker) >> 4;
  return kind >= 5 && kind <= 7;
}

/// A dictionary whose entries, sorted already, come after it was made.
class DictionaryFilledLater final : public NSDictionary {
 public:
  void setEntries(std::vector<Entry> entries) { entries_ = std::move(entries); }
};

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view document) : document_(document) {}

  Ref<NSObject> read();

 private:
  /// Where in the document the references of a dictionary stand: all its keys', then all its objects'.
  struct UnfilledDictionary {
    Ref<DictionaryFilledLater> dictionary;
    std::string_view references;
  };

  /// What is known of the object of one index.
  struct Slot {
    Ref<NSObject> object;
    std::uint16_t height = 0;  ///< in levels of containers
    bool isBegun = false;
    bool isText = false;
    std::uint32_t rank = 0;  ///< of a key: its place in the order of all keys, from 1 on
  };

  bool readTrailer();
  Slot* objectAt(std::uint64_t index, unsigned levels);
  Ref<NSObject> build(std::string_view bytes, unsigned levels, std::uint16_t& height);
  Ref<NSObject> buildSimple(unsigned marker);
  Ref<NSObject> buildReal(std::string_view bytes, std::size_t width);
  Ref<NSObject> buildString(unsigned kind, std::string_view bytes, std::uint64_t count);
  Ref<NSObject> buildUID(std::string_view bytes, std::size_t width, unsigned levels, std::uint16_t& height);
  Ref<NSObject> buildArray(std::string_view bytes, std::uint64_t count, unsigned levels, std::uint16_t& height);
  Ref<NSObject> buildDictionary(std::string_view bytes, std::uint64_t count, unsigned levels, std::uint16_t& height);

  std::optional<std::string_view> take(std::string_view& bytes, std::uint64_t count, std::size_t size = 1);
  std::optional<std::uint64_t> takeCount(std::string_view& bytes, unsigned marker);
  std::uint64_t reference(std::string_view references, std::size_t place) const {
    return bigEndian(references.substr(place * referenceSize_, referenceSize_));
  }

  void rankKeys();
  void fill(const UnfilledDictionary& unfilled, std::vector<std::size_t>& places);

  std::string_view document_;
  /// How many bytes of objects may still be read. Those of a well-made document do not overlap; in a hostile one every
  /// array could claim the same references.
  std::size_t unread_ = 0;

  std::string_view offsets_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t top_ = 0;

  std::vector<Slot> slots_;
  std::size_t keyCount_ = 0;
  std::deque<UnfilledDictionary> unfilled_;
  Ref<NSString> uidKey_;
};

Ref<NSObject> BinaryReader::read() {
  if (!readTrailer()) return nullptr;
  const Slot* top = objectAt(top_, kDeepestNesting);
  if (top == nullptr) return nullptr;
  rankKeys();
  std::vector<std::size_t> places;
  for (const UnfilledDictionary& unfilled : unfilled_) fill(unfilled, places);
  return top->object;
}

bool BinaryReader::readTrailer() {
  if (document_.size() < kHeaderLength + kTrailerLength) return false;
  const std::size_t end = document_.size() - kTrailerLength;
  const std::string_view trailer = document_.substr(end);
  offsetSize_ = bigEndian(trailer.substr(6, 1));
  referenceSize_ = bigEndian(trailer.substr(7, 1));
  std::uint64_t objectCount = bigEndian(trailer.substr(8, 8));
  top_ = bigEndian(trailer.substr(16, 8));
  const std::uint64_t offsetTable = bigEndian(trailer.substr(24, 8));

  const auto isWidth = [](std::size_t size) { return size >= 1 && size <= kWidestReference; };
  if (!isWidth(offsetSize_) || !isWidth(referenceSize_)) return false;
  if (offsetTable > end || objectCount > (end - offsetTable) / offsetSize_) return false;
  // Objects that do not overlap are no more than the places that an offset can name.
  if (offsetSize_ < 4 && objectCount > std::uint64_t{1} << 8 * offsetSize_) return false;
  offsets_ = document_.substr(offsetTable, objectCount * offsetSize_);
  document_ = document_.substr(0, offsetTable);
  unread_ = document_.size();

  // What no reference can reach needs no room; the top object alone is named in full width.
  if (referenceSize_ < 4)
    objectCount = std::min(objectCount, std::max(top_ + 1, std::uint64_t{1} << 8 * referenceSize_));
  if (objectCount > std::numeric_limits<std::uint32_t>::max()) return false;
  slots_.resize(objectCount);
  return true;
}

/// The slot of that index with its object, which is built when it is asked for first. None when the object is
/// malformed, is being built (it holds itself) or has more levels of containers than `levels`.
BinaryReader::Slot* BinaryReader::objectAt(std::uint64_t index, unsigned levels) {
  if (index >= slots_.size()) return nullptr;
  Slot& slot = slots_[index];
  if (!slot.isBegun) {
    const std::uint64_t offset = bigEndian(offsets_.substr(index * offsetSize_, offsetSize_));
    if (offset < kHeaderLength || offset >= document_.size()) return nullptr;
    slot.isBegun = true;
    slot.object = build(document_.substr(offset), levels, slot.height);
    slot.isText = isTextMarker(document_[offset]);
  }
  // The object is still absent here while its contents are built.
  return slot.object && slot.height <= levels ? &slot : nullptr;
}

/// Cuts `count` items of `size` bytes off the front of `bytes`; nothing when there are not so many.
std::optional<std::string_view> BinaryReader::take(std::string_view& bytes, std::uint64_t count, std::size_t size) {
  if (count > std::min(bytes.size(), unread_) / size) return std::nullopt;
  const std::string_view taken = bytes.substr(0, count * size);
  bytes.remove_prefix(taken.size());
  unread_ -= taken.size();
  return taken;
}

/// The count that the low half of a marker gives; 15 stands for an integer object that follows.
std::optional<std::uint64_t> BinaryReader::takeCount(std::string_view& bytes, unsigned marker) {
  constexpr unsigned kCountFollows = 0x0F;
  if ((marker & 0x0F) != kCountFollows) return marker & 0x0F;
  const auto countMarker = take(bytes, 1);
  if (!countMarker || bigEndian(*countMarker) < 0x10 || bigEndian(*countMarker) > 0x13) return std::nullopt;
  const auto count = take(bytes, std::uint64_t{1} << (bigEndian(*countMarker) & 0x0F));
  return count ? std::optional(bigEndian(*count)) : std::nullopt;
}

Ref<NSObject> BinaryReader::build(std::string_view bytes, unsigned levels, std::uint16_t& height) {
  const auto marker = take(bytes, 1);
  if (!marker) return nullptr;
  const auto value = static_cast<unsigned>(bigEndian(*marker));
  const unsigned low = value & 0x0F;
  switch (value >> 4) {
    case 0x0:
      return buildSimple(value);
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

Ref<NSObject> BinaryReader::buildSimple(unsigned marker) {
  switch (marker) {
    case 0x00:
      return NSNull::null();
    case 0x08:
      return NSNumber::numberWithBool(false);
    case 0x09:
      return NSNumber::numberWithBool(true);
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
  if (kind == 6) return textFromPropertyList(utf8FromUTF16(*content, ByteOrder::BigEndian));
  const bool isWellFormed = kind == 5 ? isASCII(*content) : isUTF8(*content);
  return isWellFormed ? textFromPropertyList(std::string(*content)) : nullptr;
}

Ref<NSObject> BinaryReader::buildUID(std::string_view bytes, std::size_t width, unsigned levels,
                                     std::uint16_t& height) {
  const auto content = take(bytes, width);
  const Ref<NSNumber> number = content ? unsignedInteger(*content) : nullptr;
  if (!number || levels == 0) return nullptr;
  if (!uidKey_) uidKey_ = "CF$UID"_ns;
  ++height;
  return NSDictionary::dictionaryWithEntries({{uidKey_, number}});
}

Ref<NSObject> BinaryReader::buildArray(std::string_view bytes, std::uint64_t count, unsigned levels,
                                       std::uint16_t& height) {
  const auto references = take(bytes, count, referenceSize_);
  if (!references || levels == 0) return nullptr;
  std::vector<Ref<NSObject>> objects;
  objects.reserve(count);
  for (std::size_t place = 0; place < count; ++place) {
    const Slot* slot = objectAt(reference(*references, place), levels - 1);
    if (slot == nullptr) return nullptr;
    objects.push_back(slot->object);
    height = std::max(height, slot->height);
  }
  ++height;
  return NSArray::arrayWithObjects(std::move(objects));
}

Ref<NSObject> BinaryReader::buildDictionary(std::string_view bytes, std::uint64_t count, unsigned levels,
                                            std::uint16_t& height) {
  const auto references = take(bytes, count, 2 * referenceSize_);
  if (!references || levels == 0) return nullptr;
  for (std::size_t place = 0; place < 2 * count; ++place) {
    Slot* slot = objectAt(reference(*references, place), levels - 1);
    if (slot == nullptr) return nullptr;
    height = std::max(height, slot->height);

    const bool isNewKey = place < count && slot->rank == 0;
    if (!isNewKey) continue;
    if (!slot->isText) return nullptr;
    slot->rank = 1;
    ++keyCount_;
  }
  ++height;
  auto dictionary = std::make_shared<DictionaryFilledLater>();
  if (count > 0) unfilled_.push_back({dictionary, *references});
  return dictionary;
}

/// Puts all keys of the document in order once. Sorting each dictionary by its keys' bytes would compare the same two
/// long keys again for every dictionary that shares them.
void BinaryReader::rankKeys() {
  const auto bytesOf = [](const Slot* slot) -> const std::string& {
    return static_cast<const NSString&>(*slot->object).bytes();
  };
  std::vector<Slot*> keys;
  keys.reserve(keyCount_);
  for (Slot& slot : slots_) {
    if (slot.rank != 0) keys.push_back(&slot);
  }
  std::sort(keys.begin(), keys.end(),
            [&](const Slot* left, const Slot* right) { return bytesOf(left) < bytesOf(right); });
  for (std::size_t place = 1; place < keys.size(); ++place) {
    keys[place]->rank = keys[place - 1]->rank + (bytesOf(keys[place]) != bytesOf(keys[place - 1]) ? 1 : 0);
  }
}

/// Of a key given twice the last wins. `places` is room to sort in.
void BinaryReader::fill(const UnfilledDictionary& unfilled, std::vector<std::size_t>& places) {
  const std::size_t count = unfilled.references.size() / (2 * referenceSize_);
  const auto slotAt = [&](std::size_t place) -> const Slot& { return slots_[reference(unfilled.references, place)]; };
  places.resize(count);
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::sort(places.begin(), places.end(), [&](std::size_t left, std::size_t right) {
    return std::pair(slotAt(left).rank, left) < std::pair(slotAt(right).rank, right);
  });

  std::vector<NSDictionary::Entry> entries;
  entries.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    const Slot& key = slotAt(places[index]);
    if (index + 1 < count && key.rank == slotAt(places[index + 1]).rank) continue;
    entries.push_back({std::static_pointer_cast<NSString>(key.object), slotAt(count + places[index]).object});
  }
  unfilled.dictionary->setEntries(std::move(entries));
}

}  // namespace

Ref<NSObject> readBinaryPropertyList(std::string_view document) { return BinaryReader(document).read(); }

}  // namespace zk
