#pragma once

// What platform/darwin/DarwinSystem.cpp includes of macOS, for a system without that header.

// NOLINTNEXTLINE(bugprone-reserved-identifier): macOS's own name
extern "C" char*** _NSGetEnviron();
