#include "objects/NSString.h"
#include "text/NSCharacterSet.h"

namespace zk {

Ref<NSString> NSString::stringByTrimmingCharactersInSet(const NSCharacterSet& set) const {
  std::string_view kept = bytes_;
  kept.remove_prefix(set.prefixLength(kept));
  kept.remove_suffix(set.suffixLength(kept));
  return stringWithBytes(kept);
}

}  // namespace zk
