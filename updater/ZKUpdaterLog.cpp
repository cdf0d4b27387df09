#include "ZKUpdaterLog.h"

#include "process/NSLog.h"

namespace zk {

void ZKUpdaterLogArguments(Class aClass, const NSObject* object, const Ref<NSString>& category,
                           const Ref<NSString>& format, std::span<const FormatArgument> arguments) {
  const Ref<NSString> className = NSStringFromClass(aClass);
  const void* address = object;
  Ref<NSString> prefix =
      object != nullptr ? stringWithFormat("[%@ (%p)]"_ns, className, address) : stringWithFormat("[%@]"_ns, className);
  if (length(category) > 0) prefix = stringWithFormat("%@ %@:"_ns, prefix, category);

  if (length(format) > 0) {
    NSLog("%@ %@"_ns, prefix, stringWithArguments(format, arguments));
  } else {
    NSLog("%@"_ns, prefix);
  }
}

}  // namespace zk
