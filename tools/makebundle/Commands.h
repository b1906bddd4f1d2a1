#pragma once
// What MakeBundle can do, a function each. They print their results and
// problems and return the exit code; they throw a PackError for what stops them.

#include "makebundle/pack/Options.h"

enum ExitCode { kExitGood = 0, kExitBadInput = 1, kExitBadUsage = 2 };

int PackPictures(const Options& options);
int ListBundle(const Options& options);
int ExtractMembers(const Options& options);
int VerifyBundle(const Options& options);
int AppendBundle(const Options& options);
int WriteSums(const Options& options);
