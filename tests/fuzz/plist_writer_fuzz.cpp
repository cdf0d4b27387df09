// The input is a program that builds a property list on a stack: scalars of any value, and containers of objects on the
// stack, which several containers may share. It is written, read back and compared value by value.

#include <algorithm>
#include <bit>
#include <vector>

#include "fuzz/PropertyListCheck.h"
#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSDictionary.h"
#include "objects/NSNull.h"
#include "objects/NSNumber.h"

namespace {

using namespace zk;

/// So few objects that comparing shared ones again and again stays fast.
constexpr std::size_t kMostObjects = 24;

class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  bool isEmpty() const { return rest_.empty(); }
  std::string_view take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::uint64_t number(std::size_t width) {
    std::uint64_t value = 0;
    for (const char byte : take(width)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  std::string text() { return std::string(take(number(1) % 32)); }

 private:
  std::string_view rest_;
};

using Stack = std::vector<Ref<NSObject>>;

Ref<NSArray> array(Input& input, const Stack& stack) {
  Stack objects;
  for (std::uint64_t count = input.number(1) % 4; count > 0 && !stack.empty(); --count) {
    objects.push_back(stack[input.number(1) % stack.size()]);
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

Ref<NSDictionary> dictionary(Input& input, const Stack& stack) {
  std::vector<NSDictionary::Entry> entries;
  for (std::uint64_t count = input.number(1) % 4; count > 0 && !stack.empty(); --count) {
    entries.push_back({NSString::stringWithBytes(input.text()), stack[input.number(1) % stack.size()]});
  }
  return NSDictionary::dictionaryWithEntries(std::move(entries));
}

Ref<NSObject> object(Input& input, const Stack& stack) {
  switch (input.number(1) % 11) {
    case 0:
      return NSNull::null();
    case 1:
      return NSNumber::numberWithBool(input.number(1) % 2 == 1);
    case 2:
      return NSNumber::numberWithLongLong(static_cast<std::int64_t>(input.number(8)));
    case 3:
      return NSNumber::numberWithLongLong(static_cast<std::int8_t>(input.number(1)));
    case 4:
      return NSNumber::numberWithUnsignedLongLong(input.number(8));
    case 5:
      return NSNumber::numberWithDouble(std::bit_cast<double>(input.number(8)));
    case 6:
      return NSDate::dateWithTimeIntervalSinceReferenceDate(std::bit_cast<double>(input.number(8)));
    case 7:
      return NSData::dataWithBytes(input.text());
    case 8:
      return NSString::stringWithBytes(input.text());
    case 9:
      return array(input, stack);
    default:
      return dictionary(input, stack);
  }
}

bool isSame(const Ref<NSObject>& left, const Ref<NSObject>& right);

bool isSameNumber(const NSNumber& left, const NSNumber& right) {
  if (left.isBoolean() != right.isBoolean() || left.isReal() != right.isReal()) return false;
  if (!left.isReal()) return left.isEqual(std::make_shared<NSNumber>(right.value()));
  return std::bit_cast<std::uint64_t>(left.doubleValue()) == std::bit_cast<std::uint64_t>(right.doubleValue());
}

bool isSameEntry(const NSDictionary::Entry& left, const NSDictionary::Entry& right) {
  return left.key->bytes() == right.key->bytes() && isSame(left.object, right.object);
}

/// Equality that distinguishes the kinds of numbers and treats not-a-number as equal to itself.
bool isSame(const Ref<NSObject>& left, const Ref<NSObject>& right) {
  if (const auto number = asNumber(left)) return asNumber(right) && isSameNumber(*number, *asNumber(right));
  if (const auto date = asDate(left)) {
    const auto bits = [](const NSDate& one) {
      return std::bit_cast<std::uint64_t>(one.timeIntervalSinceReferenceDate());
    };
    return asDate(right) && bits(*date) == bits(*asDate(right));
  }
  if (const auto array = asArray(left)) {
    const auto other = asArray(right);
    return other && std::ranges::equal(array->objects(), other->objects(), &isSame);
  }
  if (const auto dictionary = asDictionary(left)) {
    const auto other = asDictionary(right);
    return other && std::equal(dictionary->entries().begin(), dictionary->entries().end(), other->entries().begin(),
                               other->entries().end(), &isSameEntry);
  }
  return areEqual(left, right);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(zk::fuzz::asText(data, size));
  Stack stack;
  while (!input.isEmpty() && stack.size() < kMostObjects) stack.push_back(object(input, stack));
  if (stack.empty()) return 0;

  const auto written = writeBinaryPropertyList(stack.back());
  zk::fuzz::require(written.has_value());
  zk::fuzz::require(isSame(readBinaryPropertyList(*written), stack.back()));
  zk::fuzz::requireWritable(stack.back());
  return 0;
}
