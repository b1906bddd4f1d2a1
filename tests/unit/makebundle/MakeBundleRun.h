#pragma once
// Starts the real MakeBundle.exe as a person would, and gives it pictures.

#include "bundle/VFBundle.h"
#include "support/Bytes.h"
#include "support/PixelHelpers.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

struct RunResult {
  int exitCode = -1;
  std::string out;  // standard output, CR LF turned into LF
  std::string err;
};

// Arguments are UTF-8 and passed as they are, blanks and quotes included.
RunResult RunMakeBundle(const std::vector<std::string>& arguments);

// The command line that passes exactly these arguments.
std::wstring MakeBundleCommandLine(const std::vector<std::string>& arguments);

// Full path of a picture or sound that the build has made.
std::string Fixture(const std::string& name);

// Copies a fixture to `path`.
void CopyFixture(const std::string& name, const std::string& path);

// Raw red, green, blue bytes as they stand in a fixture.
support::Pixels RawFixture(const std::string& name, int width, int height);

// Decodes an encoded picture as the show does; a test failure if it can't be.
support::Pixels Decoded(const support::Bytes& picture);

// A member's bytes through the product's reader; a test failure if there is no
// such member.
support::Bytes MemberOf(const std::string& bundlePath, const char* category, const char* name);

// The members of a category in the directory's order.
std::vector<std::string> NamesIn(const std::string& bundlePath, const char* category);

// All files and folders in `folder` and below, relative, sorted.
std::vector<std::string> TreeOf(const std::string& folder);

// A test with a folder of its own, with a folder "in" for pictures.
class MakeBundleTest : public testing::Test {
 protected:
  MakeBundleTest();
  std::string Path(const std::string& name) const { return temp.File(name); }
  // A fixture as "in\`name`".
  void Picture(const std::string& name, const std::string& fixture) const;
  void Text(const std::string& name, const std::string& text) const;  // "in\`name`"
  // pack out.bdl --pictures in ...
  RunResult RunPack(const std::vector<std::string>& more = {}) const;

  support::TempFolder temp;
  std::string in, out;
};
