#include "ZKPOSIXSemaphore.h"
#include "files/NSDataFiles.h"
#include "files/NSFileManager.h"
#include "objects/NSDate.h"
#include "objects/NSNumber.h"
#include "plist/NSPropertyListSerialization.h"
#include "system/System.h"
#include "text/Formatting.h"

namespace zk {

namespace {

constexpr std::size_t kRecordKeyCount = 4;
/// In bytes. A record takes a few hundred; a much larger file is a mistake or an attack.
constexpr std::size_t kLargestRecord = std::size_t{1} << 20;

Ref<NSString> textForKey(const Ref<NSDictionary>& dictionary, const Ref<NSString>& key) {
  return asString(dictionary->objectForKey(key));
}

void addExecutableAndBundle(NSMutableDictionary& record, const ProcessSerialNumber& process) {
  const Ref<NSDictionary> information =
      System::current().ProcessInformationCopyDictionary(process, kProcessDictionaryIncludeAllInformationMask);
  if (!information) return;

  const Ref<NSString> executablePath = textForKey(information, kCFBundleExecutableKey);
  if (length(executablePath) > 0) record.setObject(executablePath, ZKPOSIXSemaphore::executablePathKey);

  // The bundle on disk may be replaced while the process runs from it. An installer that lies inside the bundle that it
  // replaces must still count as alive by its own record.
  if (information->objectForKey(ZKBundleMayChangeKey)) return;
  const Ref<NSString> bundleId = textForKey(information, kCFBundleIdentifierKey);
  if (length(bundleId) > 0) record.setObject(bundleId, ZKPOSIXSemaphore::bundleIdKey);
}

void addCreationDate(NSMutableDictionary& record, const ProcessSerialNumber& process) {
  ProcessInfoRec info;
  info.processInfoLength = sizeof info;
  if (System::current().GetProcessInformation(process, info) != noErr) return;

  // The stamp is only ever compared, so it is taken as seconds after the reference date, whatever its unit is.
  const double seconds = static_cast<double>(info.processLaunchDate) + kCFAbsoluteTimeIntervalSince1970;
  record.setObject(NSDate::dateWithTimeIntervalSince1970(seconds), ZKPOSIXSemaphore::creationDateKey);
}

/// Whether both records hold a text under `key` and the two differ.
bool textsDiffer(const Ref<NSDictionary>& left, const Ref<NSDictionary>& right, const Ref<NSString>& key) {
  const Ref<NSString> leftText = textForKey(left, key);
  const Ref<NSString> rightText = textForKey(right, key);
  return length(leftText) > 0 && length(rightText) > 0 && !leftText->isEqual(rightText);
}

}  // namespace

Ref<NSDictionary> ZKPOSIXSemaphore::processInfoForPID(std::int32_t pid) {
  ProcessSerialNumber process;
  const OSStatusCode status = System::current().GetProcessForPID(pid, process);
  if (status == procNotFound) return nullptr;

  const Ref<NSMutableDictionary> record = NSMutableDictionary::dictionaryWithCapacity(kRecordKeyCount);
  if (!record) return nullptr;
  record->setObject(NSNumber::numberWithInt(pid), pidKey);
  if (status != noErr) return record;

  addExecutableAndBundle(*record, process);
  addCreationDate(*record, process);
  return record;
}

Ref<NSDictionary> ZKPOSIXSemaphore::currentProcessInfo() { return processInfoForPID(System::current().getpid()); }

bool ZKPOSIXSemaphore::isProcessInfoValid(const Ref<NSDictionary>& processInfo) {
  if (!processInfo) return false;
  const Ref<NSNumber> pid = asNumber(processInfo->objectForKey(pidKey));
  if (!pid) return false;
  const Ref<NSDictionary> fresh = processInfoForPID(pid->intValue());
  if (!fresh) return false;

  if (textsDiffer(processInfo, fresh, executablePathKey)) return false;
  if (textsDiffer(processInfo, fresh, bundleIdKey)) return false;

  const Ref<NSDate> creationDate = asDate(processInfo->objectForKey(creationDateKey));
  const Ref<NSDate> freshCreationDate = asDate(fresh->objectForKey(creationDateKey));
  if (!creationDate || !freshCreationDate) return true;
  return creationDate->isEqual(freshCreationDate);
}

Ref<NSURL> ZKPOSIXSemaphore::processInfoURLAtDirectory(const Ref<NSURL>& directory) const {
  if (!directory || length(name_) == 0) return nullptr;
  return directory->URLByAppendingPathComponent(stringWithFormat(".%@.semaphore"_ns, name_), false);
}

bool ZKPOSIXSemaphore::writeProcessInfoAtURL(const Ref<NSURL>& directory) const {
  const Ref<NSURL> url = processInfoURLAtDirectory(directory);
  if (!url) return false;
  const Ref<NSDictionary> record = currentProcessInfo();
  if (!record) return false;
  const Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList(record, NSPropertyListBinaryFormat_v1_0);
  return data && writeToURL(data, url, true);
}

bool ZKPOSIXSemaphore::removeProcessInfoAtURL(const Ref<NSURL>& directory) const {
  const Ref<NSURL> url = processInfoURLAtDirectory(directory);
  return url && NSFileManager::defaultManager()->removeItemAtURL(url);
}

Ref<NSObject> ZKPOSIXSemaphore::processInfoAtURL(const Ref<NSURL>& directory) const {
  const Ref<NSURL> url = processInfoURLAtDirectory(directory);
  if (!url) return nullptr;
  const Ref<NSData> data = dataWithContentsOfURL(url, kLargestRecord);
  if (!data) return nullptr;
  return NSPropertyListSerialization::propertyListWithData(data);
}

}  // namespace zk
