#pragma once

#include "RVCoreOnly.h"

#include <QString>

// The number at the start of text, the way the system's texts are read as numbers: leading
// blanks skipped, the longest numeric prefix taken, 0 when there is none.
double RVLeadingDouble(const QString& text);
int RVLeadingInt(const QString& text);
