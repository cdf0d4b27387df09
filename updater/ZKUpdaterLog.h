#pragma once

#include <initializer_list>
#include <span>

#include "objects/NSString.h"
#include "text/Formatting.h"

namespace zk {

/// Composes a log line, which process/LogSink.cpp writes: "[<class> (<address>)] <category>: <message>", without the
/// pieces that are not given.
/// @param aClass the line begins with its name
/// @param object may be absent
/// @param category may be absent or empty
/// @param format may be absent or empty: then there is no message, and no blank before it
void ZKUpdaterLogArguments(Class aClass, const NSObject* object, const Ref<NSString>& category,
                           const Ref<NSString>& format, std::span<const FormatArgument> arguments);

/// The same, with the arguments given one by one as for stringWithFormat().
template <class... Arguments>
void ZKUpdaterLog(Class aClass, const NSObject* object, const Ref<NSString>& category, const Ref<NSString>& format,
                  const Arguments&... arguments) {
  const std::initializer_list<FormatArgument> list{FormatArgument(arguments)...};
  ZKUpdaterLogArguments(aClass, object, category, format, std::span<const FormatArgument>(list.begin(), list.size()));
}

}  // namespace zk
