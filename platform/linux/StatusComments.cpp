#include "system/Port.h"

#include <algorithm>
#include <array>

namespace zk {

namespace {

struct Comment {
  std::int32_t status;
  const char* text;
};

/// Linux has no such comments of its own. These describe the statuses that programs meet most: of files, memory,
/// resources, processes, events and launches.
constexpr std::array<Comment, 33> kComments = {{
    {-10829, "The application cannot run in several sessions at once"},
    {-10827, "The executable is missing"},
    {-10814, "Application not found"},
    {-10810, "Launch services failed for an unknown reason"},
    {-1712, "The event timed out"},
    {-1708, "No handler took the event"},
    {-1701, "Descriptor not found"},
    {-1407, "The item is no folder"},
    {-609, "The connection is not valid"},
    {-600, "No such process"},
    {-193, "Resource file not found"},
    {-192, "Resource not found"},
    {-128, "Canceled by the user"},
    {-120, "Folder not found"},
    {-108, "Not enough memory"},
    {-61, "The permission needed to write is missing"},
    {-54, "The permission needed to open the file is missing"},
    {-50, "A parameter is not valid"},
    {-49, "The file is open for writing already"},
    {-48, "A file or folder with this name exists already"},
    {-47, "The file or folder is in use"},
    {-46, "The volume is locked"},
    {-45, "The file is locked"},
    {-43, "File or folder not found"},
    {-42, "Too many files are open"},
    {-39, "End of file reached"},
    {-38, "The file is not open"},
    {-37, "The name is not allowed for a file or volume"},
    {-36, "Input or output failed"},
    {-35, "No such volume"},
    {-34, "The volume is full"},
    {-33, "The folder is full"},
    {-1, "Queue element not found"},
}};

}  // namespace

const char* port::statusComment(std::int32_t status) {
  const auto row = std::ranges::find(kComments, status, &Comment::status);
  return row != kComments.end() ? row->text : nullptr;
}

}  // namespace zk
