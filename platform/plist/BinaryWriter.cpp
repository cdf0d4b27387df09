#include "plist/BinaryWriter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <string_view>
#include <unordered_map>
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

enum Kind : unsigned {
  kSimple = 0,
  kInteger,
  kReal,
  kDate,
  kData,
  kASCII,
  kUTF16,
  kUID = 8,
  kArray = 10,
  kDictionary = 13
};

constexpr std::string_view kHeader = "bplist00";
constexpr std::size_t kUnusedTrailerBytes = 6;
/// The width of references while objects are collected. Their width in the document depends on how many objects there
/// are.
constexpr std::size_t kCollectedReferenceWidth = 8;

void appendBigEndian(std::string& bytes, std::uint64_t value, std::size_t width) {
  char digits[sizeof value];
  for (std::size_t place = width; place > 0; --place, value >>= 8) digits[place - 1] = static_cast<char>(value & 0xFF);
  bytes.append(digits, width);
}

void appendMarker(std::string& bytes, unsigned kind, unsigned low) { bytes += static_cast<char>(kind << 4 | low); }

/// How many bytes a value takes; 0 takes none.
std::size_t narrowestWidth(std::uint64_t value) { return static_cast<std::size_t>(std::bit_width(value) + 7) / 8; }

/// The same, rounded up to a power of two; at least 1.
std::size_t narrowestPowerOfTwo(std::uint64_t value) { return std::bit_ceil(narrowestWidth(value)); }

/// Integers of 1, 2 and 4 bytes have no sign, those of 8 and 16 bytes have one.
void appendUnsignedInteger(std::string& bytes, std::uint64_t value) {
  const bool needsSixteen = value > std::uint64_t{std::numeric_limits<std::int64_t>::max()};
  const std::size_t width = narrowestPowerOfTwo(value);
  appendMarker(bytes, kInteger, needsSixteen ? 4 : static_cast<unsigned>(std::countr_zero(width)));
  if (needsSixteen) appendBigEndian(bytes, 0, 8);
  appendBigEndian(bytes, value, width);
}

void appendMarkerWithCount(std::string& bytes, unsigned kind, std::size_t count) {
  constexpr unsigned kCountFollows = 0x0F;
  appendMarker(bytes, kind, static_cast<unsigned>(std::min<std::size_t>(count, kCountFollows)));
  if (count >= kCountFollows) appendUnsignedInteger(bytes, count);
}

std::string encoded(bool value) { return std::string(1, value ? '\x09' : '\x08'); }

std::string encoded(std::uint64_t value) {
  std::string bytes;
  appendUnsignedInteger(bytes, value);
  return bytes;
}

std::string encoded(std::int64_t value) {
  if (value >= 0) return encoded(static_cast<std::uint64_t>(value));
  std::string bytes;
  appendMarker(bytes, kInteger, 3);
  appendBigEndian(bytes, static_cast<std::uint64_t>(value), 8);
  return bytes;
}

/// In 4 bytes if that keeps every bit, else in 8.
std::string encoded(double value) {
  const bool isInRange = !std::isfinite(value) || std::abs(value) <= double{std::numeric_limits<float>::max()};
  const float narrow = isInRange ? static_cast<float>(value) : 0.0F;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  std::string bytes;
  if (std::bit_cast<std::uint64_t>(double{narrow}) == bits) {
    appendMarker(bytes, kReal, 2);
    appendBigEndian(bytes, std::bit_cast<std::uint32_t>(narrow), 4);
  } else {
    appendMarker(bytes, kReal, 3);
    appendBigEndian(bytes, bits, 8);
  }
  return bytes;
}

std::string encoded(const NSDate& date) {
  std::string bytes;
  appendMarker(bytes, kDate, 3);
  appendBigEndian(bytes, std::bit_cast<std::uint64_t>(date.timeIntervalSinceReferenceDate()), 8);
  return bytes;
}

std::string encoded(const NSData& data) {
  std::string bytes;
  appendMarkerWithCount(bytes, kData, data.length());
  return bytes.append(data.bytes());
}

std::string encoded(const NSString& text) {
  std::string bytes;
  if (isASCII(text.bytes())) {
    appendMarkerWithCount(bytes, kASCII, text.length());
    return bytes.append(text.bytes());
  }
  const std::string units = utf16FromText(text.bytes());
  appendMarkerWithCount(bytes, kUTF16, units.size() / 2);
  return bytes.append(units);
}

/// The UID for a dictionary of one number under "CF$UID", which is how a UID is read; nothing for any other dictionary.
/// Readers disagree about UIDs of more than 32 bits, and nobody makes them, so a larger number stays in its dictionary.
std::optional<std::string> encodedUID(const NSDictionary& dictionary) {
  if (dictionary.count() != 1 || dictionary.entries().front().key->bytes() != "CF$UID") return std::nullopt;
  const auto* number = dynamic_cast<const NSNumber*>(dictionary.entries().front().object.get());
  if (number == nullptr || !number->isInteger()) return std::nullopt;
  const std::int64_t value = number->longLongValue();
  if (value < 0 || value > std::int64_t{std::numeric_limits<std::uint32_t>::max()}) return std::nullopt;
  const std::size_t width = narrowestPowerOfTwo(static_cast<std::uint64_t>(value));
  std::string bytes;
  appendMarker(bytes, kUID, static_cast<unsigned>(width - 1));
  appendBigEndian(bytes, static_cast<std::uint64_t>(value), width);
  return bytes;
}

/// The bytes of an object that contains no others; nothing for a container, or for an object that no property list can
/// hold.
std::optional<std::string> encodedScalar(const NSObject& object) {
  if (const auto* text = dynamic_cast<const NSString*>(&object)) return encoded(*text);
  if (const auto* number = dynamic_cast<const NSNumber*>(&object)) {
    return std::visit([](auto value) { return encoded(value); }, number->value());
  }
  if (const auto* date = dynamic_cast<const NSDate*>(&object)) return encoded(*date);
  if (const auto* data = dynamic_cast<const NSData*>(&object)) return encoded(*data);
  if (dynamic_cast<const NSNull*>(&object) != nullptr) return std::string(1, '\0');
  return std::nullopt;
}

/// Collects the objects, each after its contents, then writes them out. Objects are the same if their bytes are,
/// references included, and are stored once. That goes for whole containers, too.
class BinaryWriter {
 public:
  using Index = std::size_t;

  /// The index of the object; nothing if it has more than `levels` levels of containers, or no property list can hold
  /// it.
  std::optional<Index> collect(const NSObject* object, unsigned levels);
  std::string document(Index top) const;

 private:
  /// The bytes of an object, ending with the references to its contents, and how many levels of containers it has.
  struct Encoded {
    std::string bytes;
    std::size_t references = 0;
    unsigned height = 0;

    bool operator<(const Encoded& other) const { return bytes < other.bytes; }
  };

  std::optional<Index> collectArray(const NSArray& array, unsigned levels);
  std::optional<Index> collectDictionary(const NSDictionary& dictionary, unsigned levels);
  void appendReference(Encoded& container, Index index) const;
  Index add(Encoded object);

  std::map<Encoded, Index> indexes_;
  std::vector<const Encoded*> objects_;
  /// Containers already collected, so that one that many others share is not gone through again.
  std::unordered_map<const NSObject*, Index> containers_;
};

std::optional<BinaryWriter::Index> BinaryWriter::collect(const NSObject* object, unsigned levels) {
  if (object == nullptr) return std::nullopt;
  if (std::optional<std::string> bytes = encodedScalar(*object)) return add({std::move(*bytes)});

  const auto known = containers_.find(object);
  if (known != containers_.end()) {
    return objects_[known->second]->height <= levels ? std::optional(known->second) : std::nullopt;
  }
  if (levels == 0) return std::nullopt;
  std::optional<Index> index;
  if (const auto* array = dynamic_cast<const NSArray*>(object)) index = collectArray(*array, levels);
  if (const auto* dictionary = dynamic_cast<const NSDictionary*>(object))
    index = collectDictionary(*dictionary, levels);
  if (index) containers_[object] = *index;
  return index;
}

std::optional<BinaryWriter::Index> BinaryWriter::collectArray(const NSArray& array, unsigned levels) {
  Encoded encodedArray;
  appendMarkerWithCount(encodedArray.bytes, kArray, array.count());
  for (const Ref<NSObject>& object : array.objects()) {
    const auto index = collect(object.get(), levels - 1);
    if (!index) return std::nullopt;
    appendReference(encodedArray, *index);
  }
  ++encodedArray.height;
  return add(std::move(encodedArray));
}

/// The references to all keys come before those to the objects.
std::optional<BinaryWriter::Index> BinaryWriter::collectDictionary(const NSDictionary& dictionary, unsigned levels) {
  if (std::optional<std::string> uid = encodedUID(dictionary)) return add({.bytes = std::move(*uid), .height = 1});
  Encoded encodedDictionary;
  appendMarkerWithCount(encodedDictionary.bytes, kDictionary, dictionary.count());
  for (const NSDictionary::Entry& entry : dictionary.entries()) {
    appendReference(encodedDictionary, add({encoded(*entry.key)}));
  }
  for (const NSDictionary::Entry& entry : dictionary.entries()) {
    const auto index = collect(entry.object.get(), levels - 1);
    if (!index) return std::nullopt;
    appendReference(encodedDictionary, *index);
  }
  ++encodedDictionary.height;
  return add(std::move(encodedDictionary));
}

void BinaryWriter::appendReference(Encoded& container, Index index) const {
  appendBigEndian(container.bytes, index, kCollectedReferenceWidth);
  ++container.references;
  container.height = std::max(container.height, objects_[index]->height);
}

BinaryWriter::Index BinaryWriter::add(Encoded object) {
  const auto [known, isNew] = indexes_.try_emplace(std::move(object), objects_.size());
  if (isNew) objects_.push_back(&known->first);
  return known->second;
}

std::string BinaryWriter::document(Index top) const {
  // Readers expect the width to hold the number of objects, not only the largest index.
  const std::size_t referenceWidth = narrowestWidth(objects_.size());
  std::string document(kHeader);
  std::vector<std::size_t> offsets;
  for (const Encoded* object : objects_) {
    offsets.push_back(document.size());
    const std::string& bytes = object->bytes;
    const std::size_t plain = bytes.size() - object->references * kCollectedReferenceWidth;
    document.append(bytes, 0, plain);
    for (std::size_t place = plain; place < bytes.size(); place += kCollectedReferenceWidth) {
      document.append(bytes, place + kCollectedReferenceWidth - referenceWidth, referenceWidth);
    }
  }

  // Likewise, they expect the width to hold the place of the table of offsets.
  const std::size_t offsetTable = document.size();
  const std::size_t offsetWidth = narrowestWidth(offsetTable);
  for (const std::size_t offset : offsets) appendBigEndian(document, offset, offsetWidth);
  document.append(kUnusedTrailerBytes, '\0');
  appendBigEndian(document, offsetWidth, 1);
  appendBigEndian(document, referenceWidth, 1);
  appendBigEndian(document, objects_.size(), 8);
  appendBigEndian(document, top, 8);
  appendBigEndian(document, offsetTable, 8);
  return document;
}

}  // namespace

std::optional<std::string> writeBinaryPropertyList(const Ref<NSObject>& propertyList) {
  BinaryWriter writer;
  const auto top = writer.collect(propertyList.get(), kDeepestNesting);
  return top ? std::optional(writer.document(*top)) : std::nullopt;
}

}  // namespace zk
