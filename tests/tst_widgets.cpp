#include "ZelColorEdit.h"
#include "ZelParameterDescriptionContainerWidget.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelParameterDescriptionWidgetItem.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QSet>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

namespace {

const QString TypeName = QStringLiteral("TestEffect");

ZelParameterDescription plainParameter(const QString& name, const QVariant& value, const QVariant& defaultValue,
                                       bool checkable = false)
{
    ZelParameterDescription parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(name + QStringLiteral(" Beschriftung"));
    parameter.setValue(value);
    parameter.setDefaultValue(defaultValue);
    parameter.setCheckable(checkable);
    return parameter;
}

// Built inside this function so that the returned container is the only holder of the
// parameters' data: a numeric parameter stays numeric until something shares it. CRatio is
// 0 ... 1 shown as 0 ... 100.
ZelParameterDescriptionContainer panelContainer()
{
    ZelParameterDescriptionContainer container(TypeName, QStringLiteral("testEffect"));
    container.add(plainParameter("AFlag", true, true), 0, 0);
    container.add(plainParameter("BColor", QColor(255, 0, 0), QColor(0, 0, 255), true), 0, 1);
    ZelParameterDescriptionNumber ratio;
    ratio.setParameterName("CRatio");
    ratio.setVisibleName(QStringLiteral("Anteil"));
    ratio.setRange(0.0, 1.0);
    ratio.setUserVisibleRange(0, 100);
    ratio.setValue(0.25);
    ratio.setDefaultValue(0.5);
    ratio.setCheckable(true);
    container.add(ratio, 1, 0);
    ZelParameterDescription hidden = plainParameter("DHidden", 7, 3);
    hidden.setUIVisiblity(false);
    container.add(hidden, 1, 1);
    container.add(plainParameter("ELabel", QStringLiteral("Text"), QStringLiteral("Text")), 2, 0);
    return container;
}

ZelParameterDescriptionWidgetItem* itemFor(const QWidget& panel, const QString& name)
{
    for (ZelParameterDescriptionWidgetItem* item : panel.findChildren<ZelParameterDescriptionWidgetItem*>()) {
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

QPoint cellOf(const QWidget& panel, QWidget* item)
{
    auto* grid = qobject_cast<QGridLayout*>(panel.layout());
    int row = -1, column = -1, rowSpan = -1, columnSpan = -1;
    if (grid && grid->indexOf(item) >= 0)
        grid->getItemPosition(grid->indexOf(item), &row, &column, &rowSpan, &columnSpan);
    return QPoint(row, column);
}

// What a user does to switch a checkable parameter's group box: QGroupBox emits clicked(bool),
// which the item listens to, only for user input, not for setChecked().
void clickGroupBoxCheck(const QWidget& panel, const QString& name)
{
    auto* editor = qobject_cast<QWidget*>(editorFor(panel, name));
    QVERIFY(editor);
    auto* groupBox = qobject_cast<QGroupBox*>(editor->parentWidget());
    QVERIFY(groupBox && groupBox->isCheckable());
    QTest::keyClick(groupBox, Qt::Key_Space);
}

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void itemOwnsItsWidget();
    void itemSwitchEmitsOnlyOnChange_data();
    void itemSwitchEmitsOnlyOnChange();
    void colorEditSignal_data();
    void colorEditSignal();
    void panelPlacesVisibleParameters_data();
    void panelPlacesVisibleParameters();
    void panelSkipsHiddenParameters();
    void panelEditEmitsChangedAndReadsBack_data();
    void panelEditEmitsChangedAndReadsBack();
    void panelReadBackLeavesNumbersUnmapped();
    void panelSwitchOffGivesDefault_data();
    void panelSwitchOffGivesDefault();
    void panelRefresh();
    void panelParameterWithoutPlace();
};

void TestWidgets::itemOwnsItsWidget()
{
    auto* item = new ZelParameterDescriptionWidgetItem;
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
    QTest::newRow("already enabled") << QList<bool>{true} << 0;
    QTest::newRow("off twice") << QList<bool>{false, false} << 1;
    QTest::newRow("off, on, on") << QList<bool>{false, true, true} << 2;
}

void TestWidgets::itemSwitchEmitsOnlyOnChange()
{
    QFETCH(QList<bool>, states);
    QFETCH(int, expectedSignals);
    ZelParameterDescriptionWidgetItem item;
    QSignalSpy spy(&item, &ZelParameterDescriptionWidgetItem::changed);
    for (bool on : states)
        item.setParameterEnabled(on);
    QCOMPARE(spy.count(), expectedSignals);
    QCOMPARE(item.parameterEnabled(), states.last());
}

void TestWidgets::colorEditSignal_data()
{
    QTest::addColumn<QColor>("initial");
    QTest::addColumn<QColor>("next");
    QTest::addColumn<int>("expectedSignals");
    QTest::newRow("same colour") << QColor(1, 2, 3) << QColor(1, 2, 3) << 0;
    QTest::newRow("other colour") << QColor(1, 2, 3) << QColor(1, 2, 4) << 1;
    QTest::newRow("alpha only") << QColor(1, 2, 3) << QColor(1, 2, 3, 100) << 1;
    QTest::newRow("to invalid") << QColor(1, 2, 3) << QColor() << 1;
    QTest::newRow("invalid again") << QColor() << QColor() << 0;
}

// Through the setter and through the user property alike.
void TestWidgets::colorEditSignal()
{
    QFETCH(QColor, initial);
    QFETCH(QColor, next);
    QFETCH(int, expectedSignals);
    for (bool throughProperty : {false, true}) {
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
        QCOMPARE(edit.color(), next);
    }
}

void TestWidgets::panelPlacesVisibleParameters_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QPoint>("cell");
    QTest::addColumn<QVariant>("uiValue");
    QTest::newRow("bool") << "AFlag" << QPoint(0, 0) << QVariant(true);
    QTest::newRow("colour") << "BColor" << QPoint(0, 1) << QVariant(QColor(255, 0, 0));
    QTest::newRow("number in UI units") << "CRatio" << QPoint(1, 0) << QVariant(25);
}

void TestWidgets::panelPlacesVisibleParameters()
{
    QFETCH(QString, name);
    QFETCH(QPoint, cell);
    QFETCH(QVariant, uiValue);
    ZelParameterDescriptionContainerWidget panel(panelContainer());
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    QVERIFY(item);
    QCOMPARE(item->parentWidget(), &panel);
    QCOMPARE(cellOf(panel, item), cell);
    const ZelUIParameterMap uiValues = panel.parameterUIValues();
    QCOMPARE(uiValues.value(name), qMakePair(uiValue, true));
}

// Hidden parameters get no editor and are read back as they are; ELabel is visible but has no
// editor kind: an empty item in its cell, nothing to read.
void TestWidgets::panelSkipsHiddenParameters()
{
    ZelParameterDescriptionContainerWidget panel(panelContainer());
    QCOMPARE(panel.findChildren<ZelParameterDescriptionWidgetItem*>().size(), 4);
    QCOMPARE(panel.parameterUIValues().keys(), QStringList({"AFlag", "BColor", "CRatio"}));
    QVERIFY(!itemFor(panel, "DHidden"));
    QCOMPARE(panel.parameters().value("DHidden"), QVariant(7));
    QCOMPARE(panel.parameters().value("ELabel"), QVariant(QStringLiteral("Text")));

    ZelParameterDescriptionContainer container(TypeName, QString());
    ZelParameterDescription hidden = plainParameter("AOne", true, false);
    hidden.setUIVisiblity(false);
    container.add(hidden, 0, 0);
    ZelParameterDescriptionContainerWidget empty(container);
    QCOMPARE(empty.layout()->count(), 0);
    QVERIFY(empty.parameterUIValues().isEmpty());
    QVERIFY(empty.parameters() == container);
}

void TestWidgets::panelEditEmitsChangedAndReadsBack_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("uiValue");
    QTest::addColumn<int>("expectedSignals");
    QTest::newRow("check box toggled") << "AFlag" << QVariant(false) << 1;
    QTest::newRow("check box unchanged") << "AFlag" << QVariant(true) << 0;
    QTest::newRow("colour with alpha") << "BColor" << QVariant(QColor(0, 255, 0, 90)) << 1;
    QTest::newRow("colour unchanged") << "BColor" << QVariant(QColor(255, 0, 0)) << 0;
    QTest::newRow("slider moved") << "CRatio" << QVariant(40) << 1;
    QTest::newRow("slider unchanged") << "CRatio" << QVariant(25) << 0;
}

// An edit emits changed() once when it changes the value; parameters() reads the editors back
// (the number in raw slider units, see below) and keeps the other values, names and places.
void TestWidgets::panelEditEmitsChangedAndReadsBack()
{
    QFETCH(QString, name);
    QFETCH(QVariant, uiValue);
    QFETCH(int, expectedSignals);
    const ZelParameterDescriptionContainer original = panelContainer();
    ZelParameterDescriptionContainerWidget panel(original);
    QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
    itemFor(panel, name)->setValue(name, uiValue);
    QCOMPARE(spy.count(), expectedSignals);
    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value(name), uiValue);
    QVERIFY(!itemFor(panel, name)->value("Unknown").isValid());
    for (const QString& other : original.parameterNames()) {
        if (other != name && other != "CRatio")
            QCOMPARE(read.value(other), original.value(other));
        QCOMPARE(read.position(other), original.position(other));
    }
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
    QCOMPARE(QPoint(slider->minimum(), slider->maximum()), QPoint(0, 100));
    QCOMPARE(slider->objectName(), QString("CRatioSlider"));
    QVERIFY(!slider->hasTracking()); // the value is taken when the handle is let go
    slider->setValue(40);
    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("CRatio"), QVariant(40));
    QCOMPARE(read.parameter("CRatio").uiValue(), QVariant(40));
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
    itemFor(panel, name)->setValue(name, editorValue);
    QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
    clickGroupBoxCheck(panel, name);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(panel.parameterUIValues().value(name).second, false);
    QCOMPARE(panel.parameters().value(name), defaultValue);
    clickGroupBoxCheck(panel, name);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(panel.parameters().value(name), editorValue);
}

// update() sets the existing editors and keeps the switches; it builds no editor for a
// parameter the panel was built without.
void TestWidgets::panelRefresh()
{
    ZelParameterDescriptionContainerWidget panel(panelContainer());
    clickGroupBoxCheck(panel, "BColor");
    ZelParameterDescriptionContainer updated = panelContainer();
    updated.setValue("AFlag", false);
    updated.setValue("BColor", QColor(0, 128, 0, 200));
    updated.setValue("CRatio", 0.75);
    updated.setValue("DHidden", 11);
    updated.setValue("FExtra", true);
    panel.update(updated);

    QCOMPARE(editorFor(panel, "AFlag")->property("checked"), QVariant(false));
    QCOMPARE(editorFor(panel, "BColor")->property("color"), QVariant(QColor(0, 128, 0, 200)));
    QCOMPARE(editorFor(panel, "CRatio")->property("value"), QVariant(75));
    QCOMPARE(panel.findChildren<ZelParameterDescriptionWidgetItem*>().size(), 4);
    QVERIFY(!panel.parameterUIValues().contains("FExtra"));
    QVERIFY(!itemFor(panel, "BColor")->parameterEnabled());
    const ZelParameterDescriptionContainer read = panel.parameters();
    QCOMPARE(read.value("BColor"), QVariant(QColor(0, 0, 255)));
    QCOMPARE(read.value("DHidden"), QVariant(11));
    QCOMPARE(read.value("FExtra"), QVariant(true));
}

// A setter on an unknown name files a parameter without a grid place; the panel must still lay
// its item out in a cell of its own rather than hand negative cells to the layout. Parameters
// filed at the same place share it.
void TestWidgets::panelParameterWithoutPlace()
{
    ZelParameterDescriptionContainer container(TypeName, QString());
    container.add(plainParameter("BPlaced", false, false), 0, 0);
    container.add(plainParameter("COverlaid", true, true), 0, 0);
    container.setValue("AUnplaced", true);
    ZelParameterDescriptionContainerWidget panel(container);
    const auto items = panel.findChildren<ZelParameterDescriptionWidgetItem*>();
    QCOMPARE(items.size(), 3);
    QSet<QPair<int, int>> cells;
    for (ZelParameterDescriptionWidgetItem* item : items) {
        const QPoint cell = cellOf(panel, item);
        QVERIFY(cell.x() >= 0 && cell.y() >= 0);
        cells.insert(qMakePair(cell.x(), cell.y()));
    }
    QCOMPARE(cells.size(), 2);
    QCOMPARE(cellOf(panel, itemFor(panel, "COverlaid")), QPoint(0, 0));
    itemFor(panel, "BPlaced")->setValue("BPlaced", true);
    QCOMPARE(panel.parameters().value("BPlaced"), QVariant(true));
    QCOMPARE(panel.parameters().value("COverlaid"), QVariant(true));
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
