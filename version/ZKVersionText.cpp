#include "ZKVersion.h"
#include "text/Formatting.h"

namespace zk {

namespace {

const Ref<NSString> kNormal = "%u.%u.%u (%u)"_ns;
const Ref<NSString> kNormalWithoutMicro = "%u.%u (%u)"_ns;
const Ref<NSString> kShort = "%u.%u.%u"_ns;
const Ref<NSString> kShortWithoutMicro = "%u.%u"_ns;
const Ref<NSString> kFull = "%u.%u.%u.%u"_ns;

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
