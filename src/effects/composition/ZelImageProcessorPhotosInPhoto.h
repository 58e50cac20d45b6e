#ifndef ZELIMAGEPROCESSORPHOTOSINPHOTO_H
#define ZELIMAGEPROCESSORPHOTOSINPHOTO_H

#include "ZelImageProcessor.h"

#include <QStringList>

// Rebuilds the photo out of small photos: covers a canvas of the source's size with blocks, each
// a thumbnail of a file of the list chosen by qrand() (which the library never seeds), turns the
// mosaic grey and lays the source over it in hard-light mode. The last row and column of blocks
// are clipped. A file that cannot be loaded makes a black block.
//
// The source comes back unchanged when the file list is empty, when no block size has been set
// (or it is not positive), when a block cannot be allocated, and after a cancel. Previews carry
// neither files nor a block size, so they are the scaled source (or the section) unchanged.
class ZelImageProcessorPhotosInPhoto : public ZelImageProcessor
{
    Q_OBJECT
    Q_CLASSINFO("ZelBenchmark", "skip: needs photo files and a block size (setImageFileList, setBlockSize)")
public:
    Q_INVOKABLE ZelImageProcessorPhotosInPhoto() : ZelImageProcessorPhotosInPhoto(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorPhotosInPhoto(const QImage& image);

    Q_INVOKABLE void setBlockSize(const QSize& size);
    Q_INVOKABLE void setImageFileList(const QStringList& files);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
