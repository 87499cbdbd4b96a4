#include "fuzz/ScanTarget.h"

SCAN_TARGET("text")
