#pragma once
// The files in a folder that are to become members.

#include "makebundle/pack/BundleWriter.h"

#include <string>
#include <vector>

struct SourceFile {
  std::string name;    // UTF-8
  std::string path;
  std::string member;  // its name in the bundle, ANSI; NameMembers sets it
};

// The files in `folder`, by name in people's order, without hidden ones and
// folders; a note tells of each that is passed over.
std::vector<SourceFile> VisibleFiles(const std::string& folder);

// Gives every file its member's name. Throws for a name that the code page or
// a bundle can't hold, and for two that differ in the case of letters only.
void NameMembers(std::vector<SourceFile>& files);

// Adds the file's bytes as they are, a piece at a time.
void AddFile(BundleWriter& writer, const SourceFile& file);
