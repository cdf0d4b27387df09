#pragma once

namespace zk {

class System;

/// The operating system that this was built for; one object for the whole process.
System& operatingSystem();

}  // namespace zk
