#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

/// What the tests need of an operating system beyond POSIX. Its folder here, linux/ or darwin/, defines this list.
namespace zk::test {

/// Lets the calling process be killed when the one that started it ends, if the system has a way: a child process does
/// not outlive a test that is killed.
void endWithParent();

/// Whether a child process with one thread sleeps inside a system call, or has ended.
bool isAsleep(pid_t child);

/// Lets a process that has become another user's go on looking at itself.
void keepAccessToItself();

/// From now on, lets the calling process copy without waiting for the disk, if the system has a way. Only for a child
/// process of the test.
void neverWaitForTheDisk();

/// Exchanges the names of two items in one step.
void exchangeItems(const std::filesystem::path& one, const std::filesystem::path& other);

/// The names of all extended attributes of the item itself; none if its file system has no such attributes.
/// @throws std::runtime_error if they cannot be read
std::set<std::string> attributeNames(const std::filesystem::path& path);
/// An extended attribute of the item itself, or nothing.
std::optional<std::string> attributeOf(const std::filesystem::path& path, const char* name);
/// Sets an extended attribute of the item itself. @return whether the file system accepts it
bool setAttribute(const std::filesystem::path& path, const char* name, const std::string& value);

/// The count of the semaphore of this name, which nobody else may use meanwhile; -1 if there is none.
int semaphoreCount(const char* name);
/// The permissions of the semaphore of this name; nothing if the system does not tell.
std::optional<mode_t> semaphoreMode(const char* name);

}  // namespace zk::test
