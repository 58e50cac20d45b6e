#include "studiowindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

namespace {

// Saves a picture of the window once the first preview is on screen, then quits; used to
// document the studio.
void screenshotAfterFirstPreview(StudioWindow* window, const QString& path)
{
    QObject::connect(window, &StudioWindow::previewShown, window, [window, path] {
        // Let the preview paint before the grab.
        QTimer::singleShot(200, window, [window, path] {
            const bool saved = window->grab().save(path);
            if (!saved)
                std::fprintf(stderr, "zelfx-studio: cannot write %s\n", qPrintable(path));
            QApplication::exit(saved ? 0 : 1);
        });
    });
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zelfx-studio"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Desktop editor for the libZelImageProcessing effects."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("photo"), QStringLiteral("The photo to open."));
    const QCommandLineOption effect(QStringLiteral("effect"), QStringLiteral("Select EFFECT (short name, e.g. Swirl)."),
                                    QStringLiteral("EFFECT"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Save a picture of the window to FILE after the first preview, then quit."),
                                        QStringLiteral("FILE"));
    parser.addOption(effect);
    parser.addOption(screenshot);
    parser.process(app);

    StudioWindow window;
    if (parser.isSet(screenshot))
        screenshotAfterFirstPreview(&window, parser.value(screenshot));
    window.show();
    if (!parser.positionalArguments().isEmpty() && !window.openPhoto(parser.positionalArguments().first()))
        std::fprintf(stderr, "zelfx-studio: cannot open %s\n", qPrintable(parser.positionalArguments().first()));
    if (parser.isSet(effect) && !window.selectEffect(parser.value(effect))) {
        std::fprintf(stderr, "zelfx-studio: no effect %s\n", qPrintable(parser.value(effect)));
        return 2;
    }
    return app.exec();
}
