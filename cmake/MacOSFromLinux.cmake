# Builds for macOS on Linux, with the clang that tools/zig fetches. The presets name the processor and the oldest macOS
# in CMAKE_CXX_COMPILER_TARGET.

set(CMAKE_SYSTEM_NAME Darwin)

cmake_path(SET zig NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../tools/zig)
set(CMAKE_CXX_COMPILER ${zig} c++)
set(CMAKE_CXX_ARCHIVE_CREATE "\"${zig}\" ar qc <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "\"${zig}\" ranlib <TARGET>")

# CMake would find this out with an option that this linker does not know.
set(CMAKE_CXX_ABI_COMPILED TRUE)
set(CMAKE_CXX_SIZEOF_DATA_PTR 8)

# CMake insists on this tool, but only an installation would use it.
set(CMAKE_INSTALL_NAME_TOOL ":")

# What CMake does by itself on a Mac.
set(CMAKE_INSTALL_NAME_DIR "@rpath")
set(CMAKE_BUILD_WITH_INSTALL_NAME_DIR ON)

# This linker takes an option and its value only together.
set(CMAKE_CXX_LINK_LIBRARY_USING_WHOLE_ARCHIVE "-Wl,-force_load,<LIBRARY>")
set(CMAKE_CXX_LINK_LIBRARY_USING_WHOLE_ARCHIVE_SUPPORTED TRUE)

# This compiler makes none.
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
