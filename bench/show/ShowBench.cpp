// Measures the Direct3D show; run.py starts it, once for each measurement:
//
//   ShowBench session BUNDLE CHANGES CRAM_SIZE DELAY_SECONDS [baselines] [captions]
//   ShowBench loader BUNDLE CRAM_SIZE
//   ShowBench opengl TILES SECONDS

#include "show/Modes.h"

#include "base/win.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int RunSession(int argc, char** argv) {
  SessionOptions options;
  options.bundle = argv[2];
  options.changes = std::atoi(argv[3]);
  options.cramSize = std::atoi(argv[4]);
  options.delaySeconds = static_cast<float>(std::atof(argv[5]));
  for (int n = 6; n < argc; ++n) {
    options.baselines |= argv[n] == std::string("baselines");
    options.captions |= argv[n] == std::string("captions");
  }
  return RunSessionBench(options);
}

int Run(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "session" && argc >= 6) return RunSession(argc, argv);
  if (mode == "loader" && argc == 4) return RunLoaderBench(argv[2], std::atoi(argv[3]));
  if (mode == "opengl" && argc == 4) return RunOpenGlLoop(std::atoi(argv[2]), std::atof(argv[3]));
  std::fprintf(stderr, "ShowBench: session, loader or opengl; run.py knows their arguments\n");
  return 2;
}

}  // namespace

// The driver's own threads may crash while an ordinary exit takes their
// libraries' data away, with all figures told.
int main(int argc, char** argv) {
  const int result = Run(argc, argv);
  std::fflush(nullptr);
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(result));
}
