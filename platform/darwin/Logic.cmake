# The sources of this folder that other systems can compile, too. Their tests run there, against stand-ins for what
# macOS hands out.
set(ZK_DARWIN_LOGIC
  CoreFoundation.cpp
  FolderEntries.cpp
  FoundFunctions.cpp
  MissingCalls.cpp
  ProcessManager.cpp
  Spawn.cpp
  Workspace.cpp
)
