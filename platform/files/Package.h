#pragma once

#include <string_view>

namespace zk {

/// Whether a folder of this name is a package: one with a package's extension, whatever its case.
bool isPackageName(std::string_view name);

}  // namespace zk
