// An application for tools/check_on_macos: writes its process id and arguments to the file that its bundle's Info.plist
// names, and runs until it is ended, for a minute at most.

#import <AppKit/AppKit.h>

int main(void) {
  @autoreleasepool {
    NSString* path = [NSBundle.mainBundle objectForInfoDictionaryKey:@"ZKReport"];
    NSArray* arguments = NSProcessInfo.processInfo.arguments;
    NSString* report = [NSString stringWithFormat:@"%d\n%@\n", getpid(), [arguments componentsJoinedByString:@"\n"]];
    [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory];
    dispatch_async(dispatch_get_main_queue(), ^{
      [report writeToFile:path atomically:YES encoding:NSUTF8StringEncoding error:NULL];
    });
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 60 * NSEC_PER_SEC), dispatch_get_main_queue(), ^{
      exit(0);
    });
    [NSApp run];
  }
  return 0;
}
