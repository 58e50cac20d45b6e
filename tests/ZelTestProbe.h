#ifndef ZELTESTPROBE_H
#define ZELTESTPROBE_H

#include "ZelImageProcessor.h"

#include <QColor>
#include <QList>
#include <QRect>
#include <QVariantList>

class ZelImageProcessorImpl;
class ZelImageProcessorProbeImpl;

// The effect the suites drive the framework, the tool, chains and the converter with. Its
// parameters are one of each kind the tool converts:
//   AStrength  number 0.5 in 0 ... 1, shown as 0 ... 100
//   BBlur      number 3 in 0 ... 10, checkable and enabled
//   CColor     colour, red
//   DSize      size 640 x 480
//   EFlag      bool false, not shown in the panel
//   FArea      rectangle (1, 2, 3, 4)
//   GLabel     string "hello"
// Effect name "Probe", tooltip "probe tooltip", progress title "Probe title".
//
// result() reports two steps through the signalizer, as an ImageMagick operation does ("step",
// 1 of 2, then 2 of 2). A cancel seen after them returns the source unchanged and without
// finished(). Otherwise the source is converted to outputFormat (unless that is
// Format_Invalid), the first black pixel of row 0 is painted with mark (unless mark is 0), and
// finished(false) ends the work. Previews are the standard ones.
class ZelImageProcessorProbe : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorProbe() : ZelImageProcessorProbe(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorProbe(const QImage& image);

    // What result() does and what it saw last.
    struct Behaviour
    {
        QRgb mark = 0;
        QImage::Format outputFormat = QImage::Format_Invalid;
    };
    Behaviour& behaviour();
    QThread* lastResultThread() const;
    QSize lastSourceSize() const;
    int lastStrengthPercent() const;

    void setXMLTagName(const QString& name);
    ZelImageProcessorProbeImpl* impl() const;
    // The implementation through its framework base, whose helpers the framework suite drives.
    ZelImageProcessorImpl* baseImpl() const { return myImpl; }

    // Each records its arguments, so that tests see what the tool's --call delivered.
    Q_INVOKABLE void record() { recorded = QVariantList(); }
    Q_INVOKABLE void record(int i, double d, bool b, const QColor& c, const QSize& s) { recorded = {i, d, b, c, s}; }
    Q_INVOKABLE void record(const QRect& r, const QRectF& rf, const QPointF& p, const QString& text)
    {
        recorded = {r, rf, p, text};
    }
    enum Shade : int { Light = 3, Dark = 7 };
    Q_ENUM(Shade)
    Q_INVOKABLE void shade(Shade value) { recorded = {int(value)}; }
    Q_INVOKABLE void names(const QStringList& list) { recorded = {list}; }
    Q_INVOKABLE void load(const QImage& image) { recorded = {image.size()}; }
    Q_INVOKABLE void loadAll(const QList<QImage>& images) { recorded = {images.size()}; }

    QVariantList recorded{QStringLiteral("not called")};

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
