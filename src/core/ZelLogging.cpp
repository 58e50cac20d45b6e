#include "ZelLogging_p.h"

Q_LOGGING_CATEGORY(zelParameters, "zel.parameters", QtInfoMsg)
// QtFatalMsg: nothing below a fatal message is enabled until a rule or a tool switches it on.
Q_LOGGING_CATEGORY(zelMagick, "zel.magick", QtFatalMsg)
