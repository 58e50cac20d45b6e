#ifndef ZELFX_CONSOLE_H
#define ZELFX_CONSOLE_H

#include <QString>

// UTF-8 text to stdout or stderr, as given (no newline added).
void printOut(const QString& text);
void printErr(const QString& text);
bool stderrIsTerminal();

#endif
