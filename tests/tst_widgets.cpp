#include "ZelColorEdit.h"
#include "ZelParameterDescription.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionContainerWidget.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelParameterDescriptionWidgetItem.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QSet>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <algorithm>

namespace {

const QString TypeName = QStringLiteral("TestEffect");

ZelParameterDescription plainParameter(const QString& name, const QVariant& value,
                                       const QVariant& defaultValue, bool checkable = false)
{
    ZelParameterDescription parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(name + QStringLiteral(" Beschriftung"));
    parameter.setValue(value);
    parameter.setDefaultValue(defaultValue);
    parameter.setCheckable(checkable);
    return parameter;
}

// Value 0..1 shown as 0..100 on the slider.
ZelParameterDescriptionNumber ratioParameter(const QString& name, double value, double defaultValue)
{
    ZelParameterDescriptionNumber parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(QStringLiteral("Anteil"));
    parameter.setRange(0.0, 1.0);
    parameter.setUserVisibleRange(0, 100);
    parameter.setValue(value);
    parameter.setDefaultValue(defaultValue);
    parameter.setCheckable(true);
    return parameter;
}

// The parameters are built inside this function so that the returned container is the only
// holder of their data; a numeric parameter stays numeric until something shares it.
ZelParameterDescriptionContainer panelContainer()
{
    ZelParameterDescriptionContainer container(TypeName, QStringLiteral("testEffect"));
    container.add(plainParameter("AFlag", true, true), 0, 0);
    container.add(plainParameter("BColor", QColor(255, 0, 0), QColor(0, 0, 255), true), 0, 1);
    container.add(ratioParameter("CRatio", 0.25, 0.5), 1, 0);
    ZelParameterDescription hidden = plainParameter("DHidden", 7, 3);
    hidden.setUIVisiblity(false);
    container.add(hidden, 1, 1);
    container.add(plainParameter("ELabel", QStringLiteral("Text"), QStringLiteral("Text")), 2, 0);
    return container;
}

ZelParameterDescriptionWidgetItem* itemFor(const QWidget& panel, const QString& name)
{
    const auto items = panel.findChildren<ZelParameterDescriptionWidgetItem*>();
    for (ZelParameterDescriptionWidgetItem* item : items) {
        if (item->parameterMap().contains(name))
            return item;
    }
    return nullptr;
}

QObject* editorFor(const QWidget& panel, const QString& name)
{
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    return item ? item->parameterMap().value(name).first : nullptr;
}

QGroupBox* groupBoxFor(const QWidget& panel, const QString& name)
{
    auto* editor = qobject_cast<QWidget*>(editorFor(panel, name));
    return editor ? qobject_cast<QGroupBox*>(editor->parentWidget()) : nullptr;
}

// What a user does to switch a checkable parameter's group box: QGroupBox emits clicked(bool),
// which the item listens to, only for user input, not for setChecked().
void clickGroupBoxCheck(QGroupBox* groupBox)
{
    QTest::keyClick(groupBox, Qt::Key_Space);
}

// The colours in a small square around the middle of the swatch, well inside its frame.
QSet<QRgb> swatchCentreColours(const ZelColorEdit& edit)
{
    auto* swatch = edit.findChild<QToolButton*>();
    if (!swatch)
        return {};
    const QImage image = swatch->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QPoint centre = image.rect().center();
    QSet<QRgb> colours;
    for (int y = centre.y() - 4; y <= centre.y() + 4; ++y) {
        for (int x = centre.x() - 4; x <= centre.x() + 4; ++x)
            colours.insert(image.pixel(x, y) | 0xff000000u);
    }
    return colours;
}

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    // ZelParameterDescriptionWidgetItem
    void itemOwnsItsWidget();
    void itemSwitchEmitsOnlyOnChange_data();
    void itemSwitchEmitsOnlyOnChange();
    void itemPropertyAccess_data();
    void itemPropertyAccess();

    // ZelColorEdit
    void colorEditSignal_data();
    void colorEditSignal();
    void colorEditSwatch_data();
    void colorEditSwatch();
    void colorEditDialog_data();
    void colorEditDialog();
    void colorEditClickOpensOneDialog();

    // ZelParameterDescriptionContainerWidget
    void panelPlacesVisibleParameters_data();
    void panelPlacesVisibleParameters();
    void panelSkipsHiddenParameters();
    void panelOnlyHiddenParameters();
    void panelEditEmitsChanged_data();
    void panelEditEmitsChanged();
    void panelReadBack_data();
    void panelReadBack();
    void panelReadBackLeavesNumbersUnmapped();
    void panelSwitchOffGivesDefault_data();
    void panelSwitchOffGivesDefault();
    void panelRefresh();
    void panelOverlappingParameters();
    void panelParameterWithoutPlace();
};

// ---------------------------------------------------------------------------------------------
// ZelParameterDescriptionWidgetItem

void TestWidgets::itemOwnsItsWidget()
{
    auto* item = new ZelParameterDescriptionWidgetItem;
    auto* grid = qobject_cast<QGridLayout*>(item->layout());
    QVERIFY(grid);
    QCOMPARE(grid->contentsMargins(), QMargins(0, 0, 0, 0));

    QPointer<QLabel> label = new QLabel;
    item->setWidget(label);
    QCOMPARE(label->parentWidget(), item);
    delete item;
    QVERIFY(label.isNull());
}

void TestWidgets::itemSwitchEmitsOnlyOnChange_data()
{
    QTest::addColumn<QList<bool>>("states");
    QTest::addColumn<int>("expectedSignals");
    QTest::addColumn<bool>("expectedState");

    QTest::newRow("already enabled") << QList<bool>{true} << 0 << true;
    QTest::newRow("switch off") << QList<bool>{false} << 1 << false;
    QTest::newRow("off twice") << QList<bool>{false, false} << 1 << false;
    QTest::newRow("off and on") << QList<bool>{false, true} << 2 << true;
    QTest::newRow("off, on, on") << QList<bool>{false, true, true} << 2 << true;
}

void TestWidgets::itemSwitchEmitsOnlyOnChange()
{
    QFETCH(QList<bool>, states);
    QFETCH(int, expectedSignals);
    QFETCH(bool, expectedState);

    ZelParameterDescriptionWidgetItem item;
    QSignalSpy spy(&item, &ZelParameterDescriptionWidgetItem::changed);
    for (bool on : states)
        item.setParameterEnabled(on);
    QCOMPARE(spy.count(), expectedSignals);
    QCOMPARE(item.parameterEnabled(), expectedState);
}

void TestWidgets::itemPropertyAccess_data()
{
    QTest::addColumn<QString>("editorKind");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("uiValue");

    QTest::newRow("check box") << "checkbox" << "checked" << QVariant(true);
    QTest::newRow("slider") << "slider" << "value" << QVariant(42);
    QTest::newRow("colour edit") << "color" << "color" << QVariant(QColor(10, 20, 30, 40));
}

void TestWidgets::itemPropertyAccess()
{
    QFETCH(QString, editorKind);
    QFETCH(QString, property);
    QFETCH(QVariant, uiValue);

    ZelParameterDescriptionWidgetItem item;
    QWidget* editor = nullptr;
    if (editorKind == "checkbox")
        editor = new QCheckBox(&item);
    else if (editorKind == "slider")
        editor = new QSlider(Qt::Horizontal, &item);
    else
        editor = new ZelColorEdit(&item);
    item.insertParameterToPropertyMap("AParam", qMakePair<QObject*, QString>(editor, property));

    item.setValue("AParam", uiValue);
    QCOMPARE(editor->property(property.toLatin1().constData()), uiValue);
    QCOMPARE(item.value("AParam"), uiValue);

    const QVariant before = item.value("AParam");
    item.setValue("Unknown", uiValue);
    QVERIFY(!item.value("Unknown").isValid());
    QCOMPARE(item.value("AParam"), before);
}

// ---------------------------------------------------------------------------------------------
// ZelColorEdit

void TestWidgets::colorEditSignal_data()
{
    QTest::addColumn<QColor>("initial");
    QTest::addColumn<QColor>("next");
    QTest::addColumn<bool>("throughProperty");
    QTest::addColumn<int>("expectedSignals");

    QTest::newRow("same colour") << QColor(1, 2, 3) << QColor(1, 2, 3) << false << 0;
    QTest::newRow("other colour") << QColor(1, 2, 3) << QColor(1, 2, 4) << false << 1;
    QTest::newRow("alpha only") << QColor(1, 2, 3) << QColor(1, 2, 3, 100) << false << 1;
    QTest::newRow("to invalid") << QColor(1, 2, 3) << QColor() << false << 1;
    QTest::newRow("invalid again") << QColor() << QColor() << false << 0;
    QTest::newRow("property, same") << QColor(9, 9, 9) << QColor(9, 9, 9) << true << 0;
    QTest::newRow("property, other") << QColor(9, 9, 9) << QColor(9, 9, 10, 11) << true << 1;
}

void TestWidgets::colorEditSignal()
{
    QFETCH(QColor, initial);
    QFETCH(QColor, next);
    QFETCH(bool, throughProperty);
    QFETCH(int, expectedSignals);

    ZelColorEdit edit;
    edit.setColor(initial);
    QSignalSpy spy(&edit, &ZelColorEdit::colorChanged);
    if (throughProperty)
        QVERIFY(edit.setProperty("color", next));
    else
        edit.setColor(next);

    QCOMPARE(spy.count(), expectedSignals);
    if (expectedSignals > 0)
        QCOMPARE(spy.first().first().value<QColor>(), next);
    QCOMPARE(edit.property("color").value<QColor>(), next);
}

void TestWidgets::colorEditSwatch_data()
{
    QTest::addColumn<QColor>("color");

    QTest::newRow("opaque") << QColor(30, 160, 90);
    QTest::newRow("translucent") << QColor(255, 0, 0, 128);
    QTest::newRow("invalid") << QColor();
}

void TestWidgets::colorEditSwatch()
{
    QFETCH(QColor, color);

    ZelColorEdit edit;
    edit.setColor(color);
    edit.resize(80, 30);
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));

    const QSet<QRgb> colours = swatchCentreColours(edit);
    QVERIFY(!colours.isEmpty());
    const QRgb light = qRgb(255, 255, 255);
    const QRgb dark = qRgb(204, 204, 204);

    if (!color.isValid()) {
        // An empty checkerboard, crossed by a line that no grey pixel could be.
        QVERIFY(colours.contains(light));
        QVERIFY(colours.contains(dark));
        const bool crossed = std::any_of(colours.cbegin(), colours.cend(),
                                         [](QRgb c) { return qRed(c) > qGreen(c) + 100; });
        QVERIFY(crossed);
        return;
    }
    if (color.alpha() == 255) {
        QCOMPARE(colours.size(), 1);
        QCOMPARE(*colours.cbegin(), color.rgb());
        return;
    }
    // Half-transparent red over the two checker greys: two different pinks, never the pure
    // colour and never a bare checker square.
    QCOMPARE(colours.size(), 2);
    for (QRgb c : colours) {
        QVERIFY(c != light && c != dark && c != color.rgb());
        QCOMPARE(qGreen(c), qBlue(c));
        QVERIFY(qGreen(c) > 60);
        QVERIFY(qRed(c) > qGreen(c) + 100);
    }
}

void TestWidgets::colorEditDialog_data()
{
    QTest::addColumn<bool>("allowAlpha");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<QColor>("chosen");
    QTest::addColumn<QColor>("expected");

    const QColor start(0, 0, 255);
    QTest::newRow("alpha allowed") << true << true << QColor(10, 20, 30, 100) << QColor(10, 20, 30, 100);
    QTest::newRow("alpha not allowed") << false << true << QColor(10, 20, 30, 100) << QColor(10, 20, 30);
    QTest::newRow("rejected") << true << false << QColor(10, 20, 30, 100) << start;
    QTest::newRow("same colour") << true << true << start << start;
}

void TestWidgets::colorEditDialog()
{
    QFETCH(bool, allowAlpha);
    QFETCH(bool, accept);
    QFETCH(QColor, chosen);
    QFETCH(QColor, expected);

    ZelColorEdit edit;
    edit.setAllowAlpha(allowAlpha);
    edit.setColor(QColor(0, 0, 255));
    QSignalSpy spy(&edit, &ZelColorEdit::colorChanged);

    edit.chooseColor();
    auto* dialog = edit.findChild<QColorDialog*>();
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->testOption(QColorDialog::ShowAlphaChannel), allowAlpha);
    QCOMPARE(dialog->currentColor(), QColor(0, 0, 255));

    dialog->setCurrentColor(chosen);
    if (accept)
        dialog->accept();
    else
        dialog->reject();

    QCOMPARE(edit.color(), expected);
    QCOMPARE(spy.count(), expected == QColor(0, 0, 255) ? 0 : 1);
}

void TestWidgets::colorEditClickOpensOneDialog()
{
    ZelColorEdit edit;
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));
    auto* swatch = edit.findChild<QToolButton*>();
    QVERIFY(swatch);

    QTest::mouseClick(swatch, Qt::LeftButton);
    edit.chooseColor();
    const auto dialogs = edit.findChildren<QColorDialog*>();
    QCOMPARE(dialogs.size(), 1);
    QVERIFY(dialogs.first()->isVisible());
    dialogs.first()->reject();
    QVERIFY(!edit.color().isValid());
}

// ---------------------------------------------------------------------------------------------
// ZelParameterDescriptionContainerWidget

void TestWidgets::panelPlacesVisibleParameters_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("uiValue");

    QTest::newRow("bool") << "AFlag" << 0 << 0 << QVariant(true);
    QTest::newRow("colour") << "BColor" << 0 << 1 << QVariant(QColor(255, 0, 0));
    QTest::newRow("number in UI units") << "CRatio" << 1 << 0 << QVariant(25);
}

void TestWidgets::panelPlacesVisibleParameters()
{
    QFETCH(QString, name);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QVariant, uiValue);

    ZelParameterDescriptionContainerWidget panel(panelContainer());
    auto* grid = qobject_cast<QGridLayout*>(panel.layout());
    QVERIFY(grid);
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    QVERIFY(item);
    QCOMPARE(item->parentWidget(), &panel);

    int itemRow = -1, itemColumn = -1, rowSpan = -1, columnSpan = -1;
    grid->getItemPosition(grid->indexOf(item), &itemRow, &itemColumn, &rowSpan, &columnSpan);
    QCOMPARE(itemRow, row);
    QCOMPARE(itemColumn, column);
    QCOMPARE(rowSpan, 1);
    QCOMPARE(columnSpan, 1);

    const ZelUIParameterMap uiValues = panel.parameterUIValues();
    QVERIFY(uiValues.contains(name));
    QCOMPARE(uiValues.value(name).first, uiValue);
    QVERIFY(uiValues.value(name).second);
}

void TestWidgets::panelSkipsHiddenParameters()
{
    ZelParameterDescriptionContainerWidget panel(panelContainer());

    // ELabel is visible but has no editor kind: an empty item in its cell, nothing to read.
    QCOMPARE(panel.findChildren<ZelParameterDescriptionWidgetItem*>().size(), 4);
    QCOMPARE(panel.parameterUIValues().keys(), QStringList({"AFlag", "BColor", "CRatio"}));
    QVERIFY(!itemFor(panel, "DHidden"));

    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("DHidden"), QVariant(7));
    QCOMPARE(read.value("ELabel"), QVariant(QStringLiteral("Text")));
}

void TestWidgets::panelOnlyHiddenParameters()
{
    ZelParameterDescriptionContainer container(TypeName, QString());
    for (const QString& name : {QStringLiteral("AOne"), QStringLiteral("BTwo")}) {
        ZelParameterDescription parameter = plainParameter(name, true, false);
        parameter.setUIVisiblity(false);
        container.add(parameter, 0, 0);
    }

    ZelParameterDescriptionContainerWidget panel(container);
    QVERIFY(panel.layout());
    QCOMPARE(panel.layout()->count(), 0);
    QVERIFY(panel.parameterUIValues().isEmpty());
    QVERIFY(panel.parameters() == container);
    QCOMPARE(panel.parameters().value("AOne"), QVariant(true));
}

void TestWidgets::panelEditEmitsChanged_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("uiValue");
    QTest::addColumn<int>("expectedSignals");

    QTest::newRow("check box toggled") << "AFlag" << QVariant(false) << 1;
    QTest::newRow("check box unchanged") << "AFlag" << QVariant(true) << 0;
    QTest::newRow("colour changed") << "BColor" << QVariant(QColor(0, 255, 0)) << 1;
    QTest::newRow("colour unchanged") << "BColor" << QVariant(QColor(255, 0, 0)) << 0;
    QTest::newRow("slider moved") << "CRatio" << QVariant(40) << 1;
    QTest::newRow("slider unchanged") << "CRatio" << QVariant(25) << 0;
}

void TestWidgets::panelEditEmitsChanged()
{
    QFETCH(QString, name);
    QFETCH(QVariant, uiValue);
    QFETCH(int, expectedSignals);

    ZelParameterDescriptionContainerWidget panel(panelContainer());
    QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    QVERIFY(item);
    item->setValue(name, uiValue);
    QCOMPARE(spy.count(), expectedSignals);
}

void TestWidgets::panelReadBack_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("uiValue");
    QTest::addColumn<QVariant>("expectedValue");

    QTest::newRow("bool") << "AFlag" << QVariant(false) << QVariant(false);
    QTest::newRow("colour with alpha") << "BColor" << QVariant(QColor(0, 255, 0, 90))
                                       << QVariant(QColor(0, 255, 0, 90));
    QTest::newRow("number, raw slider units") << "CRatio" << QVariant(40) << QVariant(40);
}

void TestWidgets::panelReadBack()
{
    QFETCH(QString, name);
    QFETCH(QVariant, uiValue);
    QFETCH(QVariant, expectedValue);

    const ZelParameterDescriptionContainer original = panelContainer();
    ZelParameterDescriptionContainerWidget panel(original);
    itemFor(panel, name)->setValue(name, uiValue);

    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value(name), expectedValue);
    for (const QString& other : original.parameterNames()) {
        if (other != name && other != "CRatio")
            QCOMPARE(read.value(other), original.value(other));
    }
    QCOMPARE(read.parameterNames(), original.parameterNames());
    QCOMPARE(read.position(name), original.position(name));
}

// Deliberate: the panel keeps a copy of the container, so the numeric parameter's data is
// shared when parameters() writes it; the write detaches into plain data and the slider's UI
// value is stored unmapped. Callers that need value units map through setUIParameters on their
// own, unshared container.
void TestWidgets::panelReadBackLeavesNumbersUnmapped()
{
    ZelParameterDescriptionContainer unshared = panelContainer();
    unshared.setUIValue("CRatio", 40);
    QCOMPARE(unshared.value("CRatio").toDouble(), 0.4);

    ZelParameterDescriptionContainerWidget panel(panelContainer());
    auto* slider = qobject_cast<QSlider*>(editorFor(panel, "CRatio"));
    QVERIFY(slider);
    QCOMPARE(slider->minimum(), 0);
    QCOMPARE(slider->maximum(), 100);
    slider->setValue(40);

    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("CRatio"), QVariant(40));
    QCOMPARE(read.parameter("CRatio").uiValue(), QVariant(40));
    QVERIFY(read.parameter("CRatio") != panelContainer().parameter("CRatio"));

    // Untouched, the number still comes back in raw slider units.
    ZelParameterDescriptionContainerWidget untouched(panelContainer());
    QCOMPARE(untouched.parameters().value("CRatio"), QVariant(25));
}

void TestWidgets::panelSwitchOffGivesDefault_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("editorValue");
    QTest::addColumn<QVariant>("defaultValue");

    QTest::newRow("colour") << "BColor" << QVariant(QColor(0, 255, 0)) << QVariant(QColor(0, 0, 255));
    QTest::newRow("number") << "CRatio" << QVariant(80) << QVariant(0.5);
}

void TestWidgets::panelSwitchOffGivesDefault()
{
    QFETCH(QString, name);
    QFETCH(QVariant, editorValue);
    QFETCH(QVariant, defaultValue);

    ZelParameterDescriptionContainerWidget panel(panelContainer());
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    QGroupBox* groupBox = groupBoxFor(panel, name);
    QVERIFY(item);
    QVERIFY(groupBox);
    QVERIFY(groupBox->isCheckable());
    item->setValue(name, editorValue);

    QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
    clickGroupBoxCheck(groupBox);
    QVERIFY(!groupBox->isChecked());
    QCOMPARE(spy.count(), 1);
    QVERIFY(!panel.parameterUIValues().value(name).second);
    QCOMPARE(panel.parameters().value(name), defaultValue);

    clickGroupBoxCheck(groupBox);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(panel.parameters().value(name), editorValue);
}

void TestWidgets::panelRefresh()
{
    ZelParameterDescriptionContainerWidget panel(panelContainer());
    QGroupBox* colorBox = groupBoxFor(panel, "BColor");
    QVERIFY(colorBox);
    clickGroupBoxCheck(colorBox);
    QVERIFY(!itemFor(panel, "BColor")->parameterEnabled());
    const int itemCount = panel.findChildren<ZelParameterDescriptionWidgetItem*>().size();

    ZelParameterDescriptionContainer updated = panelContainer();
    updated.setValue("AFlag", false);
    updated.setValue("BColor", QColor(0, 128, 0, 200));
    updated.setValue("CRatio", 0.75);
    updated.setValue("DHidden", 11);
    // Visible, but the panel was built without it: no editor appears for it.
    updated.setValue("FExtra", true);
    panel.update(updated);

    QCOMPARE(editorFor(panel, "AFlag")->property("checked"), QVariant(false));
    QCOMPARE(editorFor(panel, "BColor")->property("color"), QVariant(QColor(0, 128, 0, 200)));
    QCOMPARE(editorFor(panel, "CRatio")->property("value"), QVariant(75));
    QCOMPARE(panel.findChildren<ZelParameterDescriptionWidgetItem*>().size(), itemCount);
    QVERIFY(!itemFor(panel, "FExtra"));
    QVERIFY(!panel.parameterUIValues().contains("FExtra"));
    QVERIFY(!itemFor(panel, "BColor")->parameterEnabled());
    QVERIFY(!colorBox->isChecked());

    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("AFlag"), QVariant(false));
    QCOMPARE(read.value("BColor"), QVariant(QColor(0, 0, 255)));
    QCOMPARE(read.value("DHidden"), QVariant(11));
    QCOMPARE(read.value("FExtra"), QVariant(true));
}

void TestWidgets::panelOverlappingParameters()
{
    ZelParameterDescriptionContainer container(TypeName, QString());
    container.add(plainParameter("AOne", true, true), 2, 3);
    container.add(plainParameter("BTwo", false, false), 2, 3);

    ZelParameterDescriptionContainerWidget panel(container);
    auto* grid = qobject_cast<QGridLayout*>(panel.layout());
    QVERIFY(grid);
    for (const char* name : {"AOne", "BTwo"}) {
        int row = -1, column = -1, rowSpan = -1, columnSpan = -1;
        grid->getItemPosition(grid->indexOf(itemFor(panel, name)), &row, &column, &rowSpan, &columnSpan);
        QCOMPARE(QPoint(row, column), QPoint(2, 3));
    }

    itemFor(panel, "AOne")->setValue("AOne", false);
    itemFor(panel, "BTwo")->setValue("BTwo", true);
    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("AOne"), QVariant(false));
    QCOMPARE(read.value("BTwo"), QVariant(true));
}

// A setter on an unknown name files a parameter without a grid place (and without a name of its
// own); the panel must still lay its item out rather than hand negative cells to the layout.
void TestWidgets::panelParameterWithoutPlace()
{
    ZelParameterDescriptionContainer container(TypeName, QString());
    container.add(plainParameter("BPlaced", false, false), 0, 0);
    container.setValue("AUnplaced", true);
    QCOMPARE(container.position("AUnplaced"), QPoint(-1, -1));

    ZelParameterDescriptionContainerWidget panel(container);
    auto* grid = qobject_cast<QGridLayout*>(panel.layout());
    QVERIFY(grid);
    const auto items = panel.findChildren<ZelParameterDescriptionWidgetItem*>();
    QCOMPARE(items.size(), 2);

    QSet<QPair<int, int>> cells;
    for (ZelParameterDescriptionWidgetItem* item : items) {
        const int index = grid->indexOf(item);
        QVERIFY(index >= 0);
        int row = -1, column = -1, rowSpan = -1, columnSpan = -1;
        grid->getItemPosition(index, &row, &column, &rowSpan, &columnSpan);
        QVERIFY(row >= 0 && column >= 0);
        cells.insert(qMakePair(row, column));
    }
    QCOMPARE(cells.size(), 2);
    QVERIFY(cells.contains(qMakePair(0, 0)));
    QCOMPARE(panel.parameters().value("BPlaced"), QVariant(false));
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
