#ifndef ZELLOGGING_P_H
#define ZELLOGGING_P_H

#include <QLoggingCategory>

// Messages for the library's maintainers, off by default; QT_LOGGING_RULES="zel.*.debug=true"
// (or zelfx --verbose) shows them.
Q_DECLARE_LOGGING_CATEGORY(zelParameters)

#endif
