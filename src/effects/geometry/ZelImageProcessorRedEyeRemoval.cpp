#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

#include "RedEye.h"

#include <QCoreApplication>

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace {

const QSize kDetectionSize(1024, 768);
const int32_t kNearestRadius = 75;
const uint32_t kFlagsWholeFirst = 0x5000000;
const uint32_t kFlagsWholeSecond = 0x2000000;
const uint32_t kFlagsNearest = 0x7000000;
// A status no library call returned yet; it counts as a failure.
const int kNotCalled = -1;

// The user region on the detection copy, edges inclusive.
struct ScaledRegion
{
    int left;
    int top;
    int right;
    int bottom;
};

ScaledRegion scaledRegion(const QRect& region, const QSize& photo, const QSize& detection)
{
    if (region.isNull())
        return ScaledRegion{0, 0, -1, -1};
    const double width = detection.width();
    const double height = detection.height();
    // The top edge takes the quotient first; the order can change the truncated value, and
    // regions stored by earlier versions must land on the same pixels.
    return ScaledRegion{zelTruncToInt(region.left() * width / photo.width()),
                        zelTruncToInt(height / photo.height() * region.top()),
                        zelTruncToInt(region.right() * width / photo.width()),
                        zelTruncToInt(region.bottom() * height / photo.height())};
}

// 2 for a nearly square region, 3 for any other.
int32_t shapeCode(const QRect& region)
{
    const double width = double(region.right()) - region.left() + 1.0;
    const double height = double(region.bottom()) - region.top() + 1.0;
    return std::abs(width / height - 1.0) >= 0.2 ? 3 : 2;
}

ReImage imageRecord(QImage* image)
{
    ReImage record{};
    record.size = int32_t(sizeof(ReImage));
    record.width = image->width();
    record.height = image->height();
    record.format = RE_FORMAT_RGB32;
    record.bytesPerLine = image->bytesPerLine();
    record.bits = image->bits();
    return record;
}

// An empty circular region list; not copyable, since it points to itself.
struct RegionList
{
    RegionList() { head.next = head.previous = &head; }
    RegionList(const RegionList&) = delete;
    RegionList& operator=(const RegionList&) = delete;
    ReListHead head;
};

} // namespace

class ZelImageProcessorRedEyeRemovalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorRedEyeRemovalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Rote Augen Korrektur"))
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(const QRect& region, bool flag)
    {
        myRegion = region;
        myFlag = flag;
    }
    bool removed() const { return myRemoved; }

public slots:
    QImage result() override
    {
        myRemoved = false;
        connectProgressSignalizer();
        QImage photo = sourceImage();
        if (photo.allGray()) {
            // Returns with the signalizer still connected (harmless: it is connected uniquely),
            // as progress observers written against earlier versions saw it.
            emit finished(false);
            return photo;
        }
        photo = zelConvertImage(photo, QImage::Format_RGB32);
        const QImage detection = photo.isNull() ? QImage()
                                                : photo.scaled(kDetectionSize, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                                      .convertToFormat(QImage::Format_RGB32);
        // Copies too large to allocate: the photo goes back as it came.
        if (detection.isNull())
            photo = sourceImage();
        else
            myRemoved = removeRedEyes(&photo, detection);
        disconnectProgressSignalizer();
        emit finished(false);
        return photo;
    }
    QImage generatePreview(const QSize& size) override { return preview(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return preview(sectionOfSourceImage(rect)); }

protected:
    // The flip's progress text: the translation catalogues have no other for this effect.
    QString progressTitle() const override
    {
        return QCoreApplication::translate("ZelImageProcessorFlipHorizontalImpl", "Horizontal spiegeln");
    }
    QString progressStep() const override { return QString(); }

private:
    // Detects on detection, corrects photo in place; true when the library corrected something.
    bool removeRedEyes(QImage* photo, QImage detection) const
    {
        ReImage detectionRecord = imageRecord(&detection);
        detectionRecord.fullWidth = photo->width();
        detectionRecord.fullHeight = photo->height();
        ReImage correctionRecord = imageRecord(photo);
        const ReOptions options{int32_t(sizeof(ReOptions)), &correctionRecord};

        const ScaledRegion scaled = scaledRegion(myRegion, photo->size(), detection.size());
        auto* corners = static_cast<int32_t*>(std::malloc(4 * sizeof(int32_t)));
        if (corners) {
            corners[0] = myRegion.left();
            corners[1] = myRegion.top();
            corners[2] = myRegion.right();
            corners[3] = myRegion.bottom();
        }
        const ReRegionHint hint{shapeCode(myRegion), photo->width(), photo->height(), 1, corners};

        RegionList main;
        RegionList second;
        RegionList third;
        RegionList fourth;
        ReListEmpty(&main.head);
        int first = kNotCalled;
        int other = kNotCalled;
        const int64_t left = scaled.left;
        const int64_t top = scaled.top;
        if (left - 1 == scaled.right && top - 1 == scaled.bottom) {
            first = ReDetectAutoEx(&detectionRecord, &options, nullptr, 0, 0, kFlagsWholeFirst, &main.head);
            other = ReDetectAutoEx(&detectionRecord, &options, nullptr, 0, 0, kFlagsWholeSecond, &second.head);
            ReListMerge(&main.head, &second.head);
        } else if (left == scaled.right && top == scaled.bottom) {
            const auto x = int32_t((left + scaled.right) / 2);
            const auto y = int32_t((top + scaled.bottom) / 2);
            first = ReDetectNearest(&detectionRecord, x, y, kNearestRadius, 0, 0, kFlagsNearest, &third.head);
            ReListMerge(&main.head, &third.head);
        } else {
            ReListEmpty(&main.head);
            ReDetectAutoEx(&detectionRecord, &options, &hint, 0, 0, kFlagsWholeFirst, &fourth.head);
            ReListMerge(&main.head, &fourth.head);
            first = 0;
        }
        bool removed = false;
        if (first == 0 || other == 0)
            removed = ReCorrectRegions(&correctionRecord, &main.head, 0, 0, 0) == 0;
        ReListEmpty(&main.head);
        ReListEmpty(&second.head);
        ReListEmpty(&third.head);
        ReListEmpty(&fourth.head);
        std::free(corners);
        return removed;
    }

    static QImage preview(const QImage& image)
    {
        ZelImageProcessorRedEyeRemoval preview(image);
        preview.setParameters(image.rect(), false);
        return preview.result();
    }

    QRect myRegion{0, 0, 0, 0};
    bool myFlag = false;
    bool myRemoved = false;
};

ZelImageProcessorRedEyeRemoval::ZelImageProcessorRedEyeRemoval(const QImage& image)
    : ZelImageProcessor(image)
{
    // The trailing blank is part of the source text the translation catalogues look up.
    setProperty("ToolTip", tr("Rote Augen im Foto finden und entfernen "));
    setProperty("IconName", QStringLiteral("ico_red_eyes"));
    installImplementation(new ZelImageProcessorRedEyeRemovalImpl(image));
}

void ZelImageProcessorRedEyeRemoval::setParameters(const QRect& region, bool flag)
{
    static_cast<ZelImageProcessorRedEyeRemovalImpl*>(myImpl)->setParameters(region, flag);
}

bool ZelImageProcessorRedEyeRemoval::removed() const
{
    return static_cast<const ZelImageProcessorRedEyeRemovalImpl*>(myImpl)->removed();
}

#include "ZelImageProcessorRedEyeRemoval.moc"
