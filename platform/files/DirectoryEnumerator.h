#pragma once

#include <string>

#include "files/NSFileManager.h"

namespace zk {

/// What an enumeration does with a folder that is a package.
enum class Packages { entered, passedOver };

/// A walk over the items below the folder at `path`, as NSFileManager's enumeratorAtURL describes it. Absent, with
/// errno set, if that folder cannot be read.
Ref<NSDirectoryEnumerator> makeDirectoryEnumerator(std::string path, Packages packages);

}  // namespace zk
