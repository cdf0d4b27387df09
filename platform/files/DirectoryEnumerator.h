#pragma once

#include <string>

#include "files/NSFileManager.h"

namespace zk {

/// Which of the folders below the first one an enumeration enters.
enum class Descent { everywhere, exceptPackages, nowhere };

/// A walk over the items below the folder at `path`, as NSFileManager's enumeratorAtURL describes it. Absent, with
/// errno set, if that folder cannot be read.
Ref<NSDirectoryEnumerator> makeDirectoryEnumerator(std::string path, Descent descent);

}  // namespace zk
