#include "ZelColorEdit.h"

#include <QColorDialog>
#include <QHBoxLayout>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QToolButton>

namespace {

// Gap between the button's edge and the colour, so the button's own frame stays visible.
constexpr int SwatchInset = 3;
constexpr int CheckerCell = 4;

QBrush checkerBrush()
{
    QImage tile(2 * CheckerCell, 2 * CheckerCell, QImage::Format_RGB32);
    tile.fill(QColor(255, 255, 255));
    QPainter painter(&tile);
    const QColor dark(204, 204, 204);
    painter.fillRect(CheckerCell, 0, CheckerCell, CheckerCell, dark);
    painter.fillRect(0, CheckerCell, CheckerCell, CheckerCell, dark);
    return QBrush(tile);
}

} // namespace

class ZelColorEdit::Swatch : public QToolButton
{
public:
    explicit Swatch(QWidget* parent)
        : QToolButton(parent)
    {
        setToolButtonStyle(Qt::ToolButtonIconOnly);
        setIconSize(QSize(32, 16));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    void setSwatchColor(const QColor& color)
    {
        myColor = color;
        update();
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QToolButton::paintEvent(event);

        const QRect area = rect().adjusted(SwatchInset, SwatchInset, -SwatchInset, -SwatchInset);
        if (area.isEmpty())
            return;

        QPainter painter(this);
        // A washed-out swatch tells that the colour is not in use (an unchecked group box).
        if (!isEnabled())
            painter.setOpacity(0.4);
        if (!myColor.isValid() || myColor.alpha() < 255) {
            painter.setBrushOrigin(area.topLeft());
            painter.fillRect(area, checkerBrush());
        }
        if (myColor.isValid()) {
            painter.fillRect(area, myColor);
        } else {
            painter.setPen(QPen(Qt::red, 2));
            painter.drawLine(area.bottomLeft(), area.topRight());
        }
        painter.setPen(palette().color(QPalette::Dark));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(area.adjusted(0, 0, -1, -1));
    }

private:
    QColor myColor;
};

ZelColorEdit::ZelColorEdit(QWidget* parent)
    : QWidget(parent)
    , mySwatch(new Swatch(this))
    , myAllowAlpha(false)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mySwatch);
    setFocusProxy(mySwatch);
    connect(mySwatch, &QToolButton::clicked, this, &ZelColorEdit::chooseColor);
    updateSwatch();
}

QColor ZelColorEdit::color() const
{
    return myColor;
}

bool ZelColorEdit::allowAlpha() const
{
    return myAllowAlpha;
}

void ZelColorEdit::setAllowAlpha(bool allow)
{
    myAllowAlpha = allow;
}

void ZelColorEdit::setColor(const QColor& color)
{
    if (color == myColor)
        return;
    myColor = color;
    updateSwatch();
    emit colorChanged(myColor);
}

void ZelColorEdit::chooseColor()
{
    if (myDialog && myDialog->isVisible()) {
        myDialog->raise();
        myDialog->activateWindow();
        return;
    }

    // open() rather than exec(): no nested event loop, and the dialog stays reachable from code.
    auto* dialog = new QColorDialog(this);
    dialog->setOption(QColorDialog::ShowAlphaChannel, myAllowAlpha);
    dialog->setCurrentColor(myColor.isValid() ? myColor : QColor(Qt::white));
    connect(dialog, &QColorDialog::colorSelected, this, &ZelColorEdit::acceptDialogColor);
    connect(dialog, &QDialog::finished, dialog, &QObject::deleteLater);
    myDialog = dialog;
    dialog->open();
}

void ZelColorEdit::acceptDialogColor(const QColor& chosen)
{
    QColor color = chosen;
    // Without its alpha channel the dialog cannot show translucency, so what it yields is opaque.
    if (!myAllowAlpha)
        color.setAlpha(255);
    setColor(color);
}

void ZelColorEdit::updateSwatch()
{
    mySwatch->setSwatchColor(myColor);
    if (!myColor.isValid())
        mySwatch->setToolTip(tr("Keine Farbe"));
    else
        mySwatch->setToolTip(myColor.name(myColor.alpha() < 255 ? QColor::HexArgb : QColor::HexRgb));
}
