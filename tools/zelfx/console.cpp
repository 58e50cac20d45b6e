#include "console.h"

#include <cstdio>
#include <unistd.h>

void printOut(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void printErr(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stderr);
    std::fflush(stderr);
}

bool stderrIsTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}
