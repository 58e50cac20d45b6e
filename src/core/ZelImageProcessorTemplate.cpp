#include "ZelImageProcessorTemplate.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorTemplateImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorTemplateImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

public slots:
    QImage result() override;
};

// A new effect fills this in: connectProgressSignalizer(), read its parameters by key, compute on
// sourceImage() (polling resetCancel() once per row), disconnectProgressSignalizer(), emit
// finished(...) and return the image.
QImage ZelImageProcessorTemplateImpl::result()
{
    emit finished(true);
    return QImage();
}

ZelImageProcessorTemplate::ZelImageProcessorTemplate(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorTemplateImpl(image));
}

#include "ZelImageProcessorTemplate.moc"
