#pragma once
// Where reports go. Values of deployment, given to the build.

// The host's name alone. VELMORA_REPORT_HOST.
extern const char kReportHost[];
// With its leading "/". VELMORA_REPORT_PATH.
extern const char kReportPath[];
