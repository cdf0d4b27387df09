#pragma once

// What platform/darwin/DarwinSystem.cpp includes of macOS, for a system without that header.

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): macOS's own name
extern "C" char*** _NSGetEnviron();
