#pragma once

#include <string_view>

namespace zk {

/// Whether a folder with this name is a package, by its extension. Case is ignored.
bool isPackageName(std::string_view name);

}  // namespace zk
