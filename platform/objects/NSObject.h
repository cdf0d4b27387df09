#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace zk {

class NSString;

/// A shared, counted reference; an absent object is the null Ref.
template <class T>
using Ref = std::shared_ptr<T>;

/// What is known about a class at run time: its name.
struct ClassInfo {
  const char* name;
};
using Class = const ClassInfo*;

/// The name of `aClass`, which must not be null, as text.
Ref<NSString> NSStringFromClass(Class aClass);

/// The root of all objects. Objects are shared through Ref and never copied.
class NSObject {
 public:
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;
  virtual ~NSObject() = default;

  /// Whether `object` (may be absent) has the same value. For the root class: whether it is the same object.
  virtual bool isEqual(const Ref<NSObject>& object) const;

  /// Equal objects have equal hashes.
  virtual std::size_t hash() const;

  /// The object as text, for "%@". Never absent.
  virtual Ref<NSString> description() const;

  /// The object read as an unsigned 64-bit number, or nothing if its class has no such value.
  virtual std::optional<std::uint64_t> unsignedLongLongValue() const { return std::nullopt; }

 protected:
  NSObject() = default;
};

/// Whether two objects, either of which may be absent, are both absent or equal.
bool areEqual(const Ref<NSObject>& left, const Ref<NSObject>& right);

}  // namespace zk
