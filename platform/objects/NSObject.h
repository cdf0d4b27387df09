#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <type_traits>

/// All of this library, but for the C interface.
///
/// Objects are shared by reference count. What an operation returns is the caller's to share, and no object given to an
/// operation is taken away from its owner. An argument may be absent only where its declaration says so. Objects that
/// cannot change may be used by any number of threads at once, all others by one thread at a time. Different objects
/// may always be used by different threads, and functions that use no object by any thread. Texts are UTF-8 and lengths
/// are in bytes. Nothing throws but std::bad_alloc, when memory has run out; a program without exceptions ends then.
namespace zk {

class NSString;

/// A shared, counted reference; an absent object is the null Ref.
template <class T>
using Ref = std::shared_ptr<T>;

/// What is known about a class at run time: its name.
struct ClassInfo {
  const char* name;  ///< static
};
/// A class as a value; not owned.
using Class = const ClassInfo*;

/// The name of `aClass`, which must not be null, as text.
Ref<NSString> NSStringFromClass(Class aClass);

/// The root of all objects. Objects are shared through Ref and never copied. A class derived from it must be compiled
/// with run-time type information, which tells objects apart; a program that only uses objects need not.
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

/// Writes an object's description to a stream, for a null pointer "(null)" as "%@" does.
std::ostream& writeDescription(std::ostream& stream, const NSObject* object);

/// `stream << *object`: its description.
inline std::ostream& operator<<(std::ostream& stream, const NSObject& object) {
  return writeDescription(stream, &object);
}

/// `stream << object`: its description, not the address that a shared pointer would write; "(null)" if it is absent.
template <class T>
requires std::is_base_of_v<NSObject, T> std::ostream& operator<<(std::ostream& stream, const Ref<T>& object) {
  return writeDescription(stream, object.get());
}

}  // namespace zk
