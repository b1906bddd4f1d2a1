#pragma once
// Names of pictures, members and extracted files.

#include <string>
#include <string_view>

// The order in which people number things: without regard to the case of A to
// Z, and with digits compared as numbers, so that "img 9" comes before
// "img 10". A total order: names that differ in any byte have a first.
bool ComesBefore(std::string_view a, std::string_view b);

// Empty if `name` can be a member's or category's name, else why not.
std::string FaultOfMemberName(std::string_view name);

// Empty if a file of this name can be made in a folder, and in that folder,
// on every Windows; else why not. Such a name holds no separators, drive
// letters or wildcards, isn't "." or "..", and isn't a device's.
std::string FaultOfFileName(std::u16string_view name);
