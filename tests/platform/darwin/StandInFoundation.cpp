#include "StandInFoundation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>

#include "text/UTF8.h"

namespace zk::test {

using darwin::Object;

namespace {

enum Type : unsigned long { kText = 7, kNumber = 22, kArray = 19, kDictionary = 18, kURL = 29 };

struct Value {
  Type type;
  int owners;
  std::string bytes;           ///< of a text or a URL
  std::vector<Object> values;  ///< of an array or a dictionary
  std::vector<Object> keys;    ///< of a dictionary, one for each value
};

std::set<Object> living;
StandInFoundation* current = nullptr;
/// Their addresses are what counts.
const char arrayCallBacks = 0;
const char keyCallBacks = 0;
const char valueCallBacks = 0;

Object make(Value value) {
  const Object object = new Value(std::move(value));
  living.insert(object);
  return object;
}

Value& value(Object object) {
  if (!living.contains(object)) {
    ADD_FAILURE() << "no living object";
    std::abort();
  }
  return *const_cast<Value*>(static_cast<const Value*>(object));
}

Value& value(Object object, Type type) {
  Value& found = value(object);
  EXPECT_EQ(found.type, type) << "an object of another type";
  return found;
}

Object retained(Object object) {
  ++value(object).owners;
  return object;
}

void release(Object object) {
  Value& released = value(object);
  if (--released.owners > 0) return;
  for (const Object held : released.values) release(held);
  for (const Object held : released.keys) release(held);
  living.erase(object);
  delete &released;
}

bool isUTF8(std::string_view text) {
  std::size_t index = 0;
  while (const auto point = codePointAt(text, index)) index += point->length;
  return index == text.size();
}

/// The number of UTF-16 units.
long unitsOf(std::string_view text) {
  long units = 0;
  std::size_t index = 0;
  while (const auto point = codePointAt(text, index)) {
    units += point->value > 0xFFFF ? 2 : 1;
    index += point->length;
  }
  return units;
}

unsigned char fill(const std::string& bytes, char* buffer, long size) {
  if (static_cast<long>(bytes.size()) >= size) return 0;
  std::memcpy(buffer, bytes.c_str(), bytes.size() + 1);
  return 1;
}

/// Decomposes the one character that the tests use.
std::string decomposed(std::string text) {
  for (std::size_t at; (at = text.find("\u00E9")) != std::string::npos;) text.replace(at, 2, "e\u0301");
  return text;
}

Object createText(Object allocator, const unsigned char* bytes, long count, std::uint32_t encoding,
                  unsigned char isExternal) {
  EXPECT_EQ(allocator, nullptr);
  EXPECT_EQ(encoding, darwin::kUTF8);
  EXPECT_EQ(isExternal, 0);
  const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
  return isUTF8(text) ? StandInFoundation::text(text) : nullptr;
}

std::vector<Object> retainedAll(const Object* values, long count) {
  std::vector<Object> result;
  for (long index = 0; index < count; ++index) result.push_back(retained(values[index]));
  return result;
}

Object createArray(Object /*allocator*/, const Object* values, long count, const void* callBacks) {
  EXPECT_EQ(callBacks, &arrayCallBacks);
  return make({kArray, 1, "", retainedAll(values, count), {}});
}

Object createDictionary(Object /*allocator*/, const Object* keys, const Object* values, long count,
                        const void* givenKeyCallBacks, const void* givenValueCallBacks) {
  EXPECT_EQ(givenKeyCallBacks, &keyCallBacks);
  EXPECT_EQ(givenValueCallBacks, &valueCallBacks);
  return make({kDictionary, 1, "", retainedAll(values, count), retainedAll(keys, count)});
}

Object createURL(Object /*allocator*/, const unsigned char* path, long size, unsigned char isDirectory) {
  std::string text(reinterpret_cast<const char*>(path), static_cast<std::size_t>(size));
  if (text.empty()) return nullptr;
  return make({kURL, 1, text + (isDirectory != 0 ? "/" : ""), {}, {}});
}

Object valueForKey(Object dictionary, Object key) {
  const Value& entries = value(dictionary, kDictionary);
  for (std::size_t index = 0; index < entries.keys.size(); ++index) {
    if (value(entries.keys[index]).bytes == value(key, kText).bytes) return entries.values[index];
  }
  return nullptr;
}

}  // namespace

StandInFoundation::StandInFoundation() {
  EXPECT_TRUE(living.empty() && current == nullptr);
  current = this;
  functions.CFRelease = release;
  functions.CFGetTypeID = [](Object object) -> unsigned long { return value(object).type; };
  functions.CFStringGetTypeID = []() -> unsigned long { return kText; };
  functions.CFStringCreateWithBytes = createText;
  functions.CFStringGetLength = [](Object text) { return unitsOf(value(text, kText).bytes); };
  functions.CFStringGetMaximumSizeForEncoding = [](long length, std::uint32_t encoding) {
    EXPECT_EQ(encoding, darwin::kUTF8);
    return 3 * length;
  };
  functions.CFStringGetCString = [](Object text, char* buffer, long size, std::uint32_t encoding) {
    EXPECT_EQ(encoding, darwin::kUTF8);
    return fill(value(text, kText).bytes, buffer, size);
  };
  functions.CFStringGetMaximumSizeOfFileSystemRepresentation = [](Object text) {
    return 9 * unitsOf(value(text, kText).bytes) + 1;
  };
  functions.CFStringGetFileSystemRepresentation = [](Object text, char* buffer, long size) {
    return fill(decomposed(value(text, kText).bytes), buffer, size);
  };
  functions.CFArrayGetCount = [](Object array) { return static_cast<long>(value(array, kArray).values.size()); };
  functions.CFArrayGetValueAtIndex = [](Object array, long index) {
    return value(array, kArray).values.at(static_cast<std::size_t>(index));
  };
  functions.CFArrayCreate = createArray;
  functions.CFDictionaryGetValue = valueForKey;
  functions.CFDictionaryCreate = createDictionary;
  functions.CFURLCreateFromFileSystemRepresentation = createURL;
  functions.CFLocaleCopyPreferredLanguages = [] { return std::exchange(current->languages, nullptr); };
  functions.kCFTypeArrayCallBacks = &arrayCallBacks;
  functions.kCFTypeDictionaryKeyCallBacks = &keyCallBacks;
  functions.kCFTypeDictionaryValueCallBacks = &valueCallBacks;
}

StandInFoundation::~StandInFoundation() {
  EXPECT_EQ(living.size(), 0U) << "objects that were never released";
  living.clear();
  current = nullptr;
}

Object StandInFoundation::text(const std::string& bytes) { return make({kText, 1, bytes, {}, {}}); }

Object StandInFoundation::number() { return make({kNumber, 1, "", {}, {}}); }

Object StandInFoundation::array(const std::vector<Object>& values) { return make({kArray, 1, "", values, {}}); }

Object StandInFoundation::dictionary(const std::vector<std::pair<std::string, Object>>& entries) {
  Value result{kDictionary, 1, "", {}, {}};
  for (const auto& [key, entry] : entries) {
    result.keys.push_back(text(key));
    result.values.push_back(entry);
  }
  return make(std::move(result));
}

std::string StandInFoundation::bytesOf(Object text) { return value(text, kText).bytes; }

std::vector<std::string> StandInFoundation::textsOf(Object array) {
  std::vector<std::string> texts;
  for (const Object held : value(array, kArray).values) texts.push_back(bytesOf(held));
  return texts;
}

std::map<std::string, Object> StandInFoundation::entriesOf(Object dictionary) {
  const Value& entries = value(dictionary, kDictionary);
  std::map<std::string, Object> result;
  for (std::size_t index = 0; index < entries.keys.size(); ++index) {
    result.emplace(bytesOf(entries.keys[index]), entries.values[index]);
  }
  return result;
}

std::string StandInFoundation::pathOf(Object url) { return value(url, kURL).bytes; }

}  // namespace zk::test
