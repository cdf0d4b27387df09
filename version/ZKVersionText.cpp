#include "ZKVersion.h"
#include "text/Formatting.h"

namespace zk {

namespace {

constexpr NSStringConstant kNormal = "%u.%u.%u (%u)"_constant;
constexpr NSStringConstant kNormalWithoutMicro = "%u.%u (%u)"_constant;
constexpr NSStringConstant kShort = "%u.%u.%u"_constant;
constexpr NSStringConstant kShortWithoutMicro = "%u.%u"_constant;
constexpr NSStringConstant kFull = "%u.%u.%u.%u"_constant;

}  // namespace

Ref<NSString> ZKVersion::description() const {
  return micro() != 0 ? stringWithFormat(kNormal, major(), minor(), micro(), spin())
                      : stringWithFormat(kNormalWithoutMicro, major(), minor(), spin());
}

Ref<NSString> ZKVersion::descriptionShort() const {
  return micro() != 0 ? stringWithFormat(kShort, major(), minor(), micro())
                      : stringWithFormat(kShortWithoutMicro, major(), minor());
}

Ref<NSString> ZKVersion::descriptionFull() const { return stringWithFormat(kFull, major(), minor(), micro(), spin()); }

}  // namespace zk
