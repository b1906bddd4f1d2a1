#include "reporterr/Destination.h"

const char kReportHost[] = VELMORA_REPORT_HOST;
const char kReportPath[] = VELMORA_REPORT_PATH;
