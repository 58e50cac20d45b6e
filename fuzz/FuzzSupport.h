#ifndef ZEL_FUZZSUPPORT_H
#define ZEL_FUZZSUPPORT_H

// Shared by the fuzz targets: the Qt application every target needs, a reader that turns input
// bytes into choices, and the registered effects.

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QApplication>
#include <QList>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Effects paint with fonts and may build widgets, so there is one QApplication, offscreen. Qt's
// warnings about odd input are expected by the thousand and only slow the run down; fatal
// messages still abort, which libFuzzer reports as a crash.
inline void zelFuzzInitialize()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // ImageMagick would start a thread pool per call; one thread keeps inputs reproducible.
    qputenv("MAGICK_THREAD_LIMIT", "1");
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type == QtFatalMsg) {
            fprintf(stderr, "qFatal: %s\n", qPrintable(message));
            abort();
        }
    });
    static int argc = 1;
    static char name[] = "zel-fuzz";
    static char* argv[] = {name, nullptr};
    static QApplication* application = new QApplication(argc, argv);
    Q_UNUSED(application);
}

// Consumes the input from the front; past the end every read gives 0.
class FuzzBytes
{
public:
    FuzzBytes(const uint8_t* data, size_t size) : myData(data), mySize(size) {}

    bool atEnd() const { return myPosition >= mySize; }
    size_t remaining() const { return atEnd() ? 0 : mySize - myPosition; }
    uint8_t byte() { return atEnd() ? 0 : myData[myPosition++]; }
    uint16_t word() { return uint16_t(byte() | byte() << 8); }
    // Splits off the next count bytes (fewer at the end) as a reader of their own.
    FuzzBytes take(size_t count)
    {
        count = qMin(count, remaining());
        FuzzBytes part(myData + myPosition, count);
        myPosition += count;
        return part;
    }
    QByteArray rest()
    {
        const QByteArray bytes(reinterpret_cast<const char*>(myData + myPosition), int(remaining()));
        myPosition = mySize;
        return bytes;
    }

private:
    const uint8_t* myData;
    size_t mySize;
    size_t myPosition = 0;
};

inline const QList<const QMetaObject*>& registeredEffects()
{
    static const QList<const QMetaObject*> effects = ZelEffectRegistry::effects();
    return effects;
}

// Effects drawing from rand() or qrand() give the same pixels for the same input.
inline void seedRandom()
{
    std::srand(7);
    qsrand(7);
}

#endif
