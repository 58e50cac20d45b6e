#include "ZelParameterDescription.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QColor>
#include <QDomDocument>
#include <QSizeF>
#include <QtTest>

namespace {

ZelParameterDescription plainParameter(const QString& name, const QVariant& value)
{
    ZelParameterDescription parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(name + " label");
    parameter.setValue(value);
    parameter.setDefaultValue(value);
    return parameter;
}

ZelParameterDescriptionNumber numberParameter(const QString& name, const QVariant& value,
                                              const QVariant& minimum, const QVariant& maximum)
{
    ZelParameterDescriptionNumber parameter;
    parameter.setParameterName(name);
    parameter.setValue(value);
    parameter.setDefaultValue(value);
    parameter.setRange(minimum, maximum);
    return parameter;
}

// A document with one element <settings/> to write parameters into.
struct XmlFixture
{
    XmlFixture()
    {
        element = document.createElement(QStringLiteral("settings"));
        document.appendChild(element);
    }
    QDomDocument document;
    QDomElement element;
};

} // namespace

class TestParameters : public QObject
{
    Q_OBJECT

private slots:
    // plain parameters
    void equality_data();
    void equality();
    void xmlWriting_data();
    void xmlWriting();
    void xmlReading_data();
    void xmlReading();
    void sizeFTravelsAsIntegers();

    // numeric parameters
    void uiMapping_data();
    void uiMapping();
    void numericWrittenThroughACopyTurnsPlain();

    // container
    void containerKeys();
    void containerUIValues();
    void containerEquality_data();
    void containerEquality();
    void containerXmlAttributes();
    void containerSetXMLChangesNothing();
    void parameterTypesAreTheValueClassName();
};

void TestParameters::equality_data()
{
    QTest::addColumn<ZelParameterDescription>("left");
    QTest::addColumn<ZelParameterDescription>("right");
    QTest::addColumn<bool>("equal");
    const ZelParameterDescription base = plainParameter("Blur", 3);
    auto changed = [&base](auto change) {
        ZelParameterDescription parameter = base;
        change(parameter);
        return parameter;
    };
    using P = ZelParameterDescription&;
    const ZelParameterDescription numeric = numberParameter("Blur", 3, 0, 10);
    ZelParameterDescriptionNumber labelled = numberParameter("Blur", 3, 0, 10);
    labelled.setVisibleName("Blur label");
    ZelParameterDescriptionNumber shown = numberParameter("Blur", 3, 0, 10);
    shown.setUserVisibleRange(0, 100);
    QTest::newRow("only enabled differs") << base << changed([](P p) { p.setEnabled(false); }) << true;
    QTest::newRow("only visibility differs") << base << changed([](P p) { p.setUIVisiblity(false); }) << true;
    QTest::newRow("visible name differs") << base << changed([](P p) { p.setVisibleName("other"); }) << false;
    QTest::newRow("value differs") << base << changed([](P p) { p.setValue(4); }) << false;
    QTest::newRow("default differs") << base << changed([](P p) { p.setDefaultValue(4); }) << false;
    QTest::newRow("checkable differs") << base << changed([](P p) { p.setCheckable(true); }) << false;
    QTest::newRow("plain and numeric") << base << ZelParameterDescription(labelled) << false;
    QTest::newRow("numeric and plain") << ZelParameterDescription(labelled) << base << false;
    QTest::newRow("numeric alike") << numeric << ZelParameterDescription(numberParameter("Blur", 3, 0, 10)) << true;
    QTest::newRow("numeric, range differs") << numeric << ZelParameterDescription(numberParameter("Blur", 3, 0, 11)) << false;
    QTest::newRow("numeric, shown range differs") << numeric << ZelParameterDescription(shown) << false;
}

void TestParameters::equality()
{
    QFETCH(ZelParameterDescription, left);
    QFETCH(ZelParameterDescription, right);
    QFETCH(bool, equal);
    QCOMPARE(left == right, equal);
    QCOMPARE(left != right, !equal);
}

void TestParameters::xmlWriting_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("attribute");
    QTest::newRow("bool") << QVariant(true) << "true";
    QTest::newRow("int") << QVariant(20) << "20";
    QTest::newRow("double") << QVariant(2.5) << "2.5";
    QTest::newRow("string") << QVariant(QStringLiteral("abc")) << "abc";
    QTest::newRow("colour drops alpha") << QVariant(QColor(255, 0, 0, 128)) << "#ff0000";
    QTest::newRow("invalid colour") << QVariant(QColor()) << "#000000";
}

void TestParameters::xmlWriting()
{
    QFETCH(QVariant, value);
    QFETCH(QString, attribute);
    XmlFixture xml;
    plainParameter("Key", value).toXml(xml.element);
    QCOMPARE(xml.element.attribute("Key"), attribute);
    QVERIFY(xml.element.firstChildElement().isNull());
}

void TestParameters::xmlReading_data()
{
    QTest::addColumn<QVariant>("before");
    QTest::addColumn<QString>("attribute"); // a null string: the attribute is missing
    QTest::addColumn<QVariant>("after");
    QTest::newRow("int from digits") << QVariant(3) << "17" << QVariant(17);
    QTest::newRow("int from letters unchanged") << QVariant(3) << "abc" << QVariant(3);
    QTest::newRow("int without attribute unchanged") << QVariant(3) << QString() << QVariant(3);
    QTest::newRow("double") << QVariant(1.0) << "2.25" << QVariant(2.25);
    QTest::newRow("bool") << QVariant(false) << "true" << QVariant(true);
    QTest::newRow("string may become empty") << QVariant(QStringLiteral("x")) << QString() << QVariant(QString(""));
    // Deliberately inverted: a valid colour read from the element leaves the value alone, a
    // missing or unreadable one makes it invalid.
    QTest::newRow("valid colour leaves value") << QVariant(QColor(Qt::blue)) << "#ff0000" << QVariant(QColor(Qt::blue));
    QTest::newRow("missing colour invalidates") << QVariant(QColor(Qt::blue)) << QString() << QVariant(QColor());
    QTest::newRow("unreadable colour invalidates") << QVariant(QColor(Qt::blue)) << "nocolour" << QVariant(QColor());
}

void TestParameters::xmlReading()
{
    QFETCH(QVariant, before);
    QFETCH(QString, attribute);
    QFETCH(QVariant, after);
    XmlFixture xml;
    if (!attribute.isNull())
        xml.element.setAttribute("Key", attribute);
    ZelParameterDescription parameter = plainParameter("Key", before);
    parameter.setXML(xml.element);
    QCOMPARE(parameter.value(), after);
    QCOMPARE(parameter.type(), after.type());
}

void TestParameters::sizeFTravelsAsIntegers()
{
    XmlFixture xml;
    plainParameter("Size", QSizeF(12.7, 3.2)).toXml(xml.element);
    const QDomElement child = xml.element.firstChildElement("Size");
    QCOMPARE(child.attribute("width"), QString("13"));
    QCOMPARE(child.attribute("height"), QString("3"));

    ZelParameterDescription reader = plainParameter("Size", QSizeF(1.5, 1.5));
    reader.setXML(xml.element);
    QCOMPARE(reader.type(), QVariant::SizeF);
    QCOMPARE(reader.value().toSizeF(), QSizeF(13, 3));

    ZelParameterDescription sizeReader = plainParameter("Size", QSize(1, 1));
    sizeReader.setXML(xml.element);
    QCOMPARE(sizeReader.value(), QVariant(QSize(13, 3)));

    XmlFixture empty;
    reader.setXML(empty.element);
    QCOMPARE(reader.value().toSizeF(), QSizeF(13, 3));
}

void TestParameters::uiMapping_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("minimum");
    QTest::addColumn<QVariant>("maximum");
    QTest::addColumn<QVariant>("uiMinimum");
    QTest::addColumn<QVariant>("uiMaximum");
    QTest::addColumn<QVariant>("expectedUI");
    QTest::addColumn<QVariant>("uiToSet");
    QTest::addColumn<QVariant>("expectedValue");
    QTest::newRow("double 0..1 shown 0..100") << QVariant(0.25) << QVariant(0.0) << QVariant(1.0)
        << QVariant(0) << QVariant(100) << QVariant(25.0) << QVariant(40) << QVariant(0.4);
    // Qt's conversion of a double to int rounds half away from zero: 3.5 gives 4.
    QTest::newRow("int 0..10 shown 0..100") << QVariant(3) << QVariant(0) << QVariant(10)
        << QVariant(0) << QVariant(100) << QVariant(30) << QVariant(35) << QVariant(4);
    QTest::newRow("no clamping") << QVariant(3) << QVariant(0) << QVariant(10)
        << QVariant(0) << QVariant(100) << QVariant(30) << QVariant(150) << QVariant(15);
    QTest::newRow("offset ranges") << QVariant(5.0) << QVariant(-5.0) << QVariant(5.0)
        << QVariant(100) << QVariant(200) << QVariant(200.0) << QVariant(150) << QVariant(0.0);
    QTest::newRow("no shown range: identity") << QVariant(3) << QVariant(0) << QVariant(1)
        << QVariant() << QVariant() << QVariant(3) << QVariant(150.5) << QVariant(150.5);
    QTest::newRow("string UI value converts") << QVariant(0.5) << QVariant(0.0) << QVariant(1.0)
        << QVariant(0) << QVariant(10) << QVariant(5.0) << QVariant(QStringLiteral("2")) << QVariant(0.2);
}

void TestParameters::uiMapping()
{
    QFETCH(QVariant, value);
    QFETCH(QVariant, minimum);
    QFETCH(QVariant, maximum);
    QFETCH(QVariant, uiMinimum);
    QFETCH(QVariant, uiMaximum);
    QFETCH(QVariant, expectedUI);
    QFETCH(QVariant, uiToSet);
    QFETCH(QVariant, expectedValue);

    ZelParameterDescriptionNumber parameter = numberParameter("Key", value, minimum, maximum);
    if (uiMinimum.isValid())
        parameter.setUserVisibleRange(uiMinimum, uiMaximum);
    const ZelParameterDescription& asPlainInterface = parameter;
    QCOMPARE(asPlainInterface.uiValue(), expectedUI);
    QCOMPARE(parameter.defaultUIValue(), expectedUI);
    // Without a shown range, the shown bounds are the value range.
    QCOMPARE(parameter.minUserVisibleValue(), uiMinimum.isValid() ? uiMinimum : minimum);
    QCOMPARE(parameter.maxUserVisibleValue(), uiMaximum.isValid() ? uiMaximum : maximum);
    parameter.setUIValue(uiToSet);
    QCOMPARE(parameter.value().type(), uiMinimum.isValid() ? value.type() : uiToSet.type());
    QVERIFY2(qFuzzyCompare(parameter.value().toDouble() + 1, expectedValue.toDouble() + 1),
             qPrintable(parameter.value().toString()));
}

// Copy on write: the first write through a copy detaches the shared data into plain data, so a
// numeric parameter written through a shared copy loses its mapping; the original keeps it.
// Its numeric accessors detach like writers.
void TestParameters::numericWrittenThroughACopyTurnsPlain()
{
    ZelParameterDescriptionNumber number = numberParameter("Key", 3, 0, 10);
    number.setUserVisibleRange(0, 100);
    ZelParameterDescription copy = number;
    copy.setValue(5);
    QCOMPARE(number.value(), QVariant(3));
    QCOMPARE(copy.uiValue(), QVariant(5));
    copy.setUIValue(70);
    QCOMPARE(copy.value(), QVariant(70));
    QVERIFY(!dynamic_cast<const ZelParameterDescriptionNumberImpl*>(copy.constData()));
    QCOMPARE(number.uiValue(), QVariant(30));

    ZelParameterDescriptionNumber numericCopy = number;
    QCOMPARE(numericCopy.min(), QVariant());
    QCOMPARE(numericCopy.uiValue(), QVariant(3));
    QCOMPARE(number.uiValue(), QVariant(30));

    const auto* numberData = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(number.constData());
    QVERIFY(numberData);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("different types"));
    QVERIFY(!numberData->equals(plainParameter("Key", 3).constData()));
}

// Setters on an unknown name file a parameter without a place or a name of its own (so that
// contains(), which scans the names, misses it); readers never insert; add() replaces by name.
void TestParameters::containerKeys()
{
    ZelParameterDescriptionContainer container("Type", QString());
    QCOMPARE(container.value("Missing"), QVariant());
    QCOMPARE(container.parameter("Missing").type(), QVariant::Invalid);
    QCOMPARE(container.position("Missing"), QPoint(-1, -1));
    QVERIFY(container.isEmpty());
    container.setValue("Missing", 5);
    QCOMPARE(container.value("Missing"), QVariant(5));
    QCOMPARE(container.position("Missing"), QPoint(-1, -1));
    QVERIFY(!container.contains("Missing"));
    container.setDefaultValue("Other", 7);
    container.setValueToDefault("Other");
    QCOMPARE(container.value("Other"), QVariant(7));
    container.setUIValue("Third", 1.5);
    QCOMPARE(container.parameterNames(), (QStringList{"Missing", "Other", "Third"}));

    container.add(plainParameter("Blur", 1), 0, 0);
    QVERIFY(container.contains("Blur"));
    container.add(plainParameter("Blur", 2), 3, 1);
    QCOMPARE(container.parameters().size(), 4);
    QCOMPARE(container.value("Blur"), QVariant(2));
    QCOMPARE(container.position("Blur"), QPoint(3, 1));
    container.remove("Blur");
    container.remove("Unknown");
    QCOMPARE(container.position("Blur"), QPoint(-1, -1));
    QCOMPARE(container.parameters().size(), 3);
}

// UI values are mapped into the value range, switched-off entries reset to their default; but a
// container copy written while it shares a numeric parameter detaches it into plain data, which
// stores the UI value unmapped (the original keeps its mapping).
void TestParameters::containerUIValues()
{
    ZelParameterDescriptionContainer original("Type", QString());
    ZelParameterDescriptionNumber strength = numberParameter("AStrength", 0.5, 0.0, 1.0);
    strength.setUserVisibleRange(0, 100);
    original.add(strength, 0, 0);
    ZelParameterDescription blur = plainParameter("BBlur", 3);
    blur.setValue(9);
    original.add(blur, 1, 0);
    strength = ZelParameterDescriptionNumber(); // the container holds the only reference
    ZelParameterDescriptionContainer copy = original;
    copy.setUIValue("AStrength", 40);
    QCOMPARE(copy.value("AStrength"), QVariant(40));
    QCOMPARE(original.value("AStrength"), QVariant(0.5));

    ZelUIParameterMap map;
    map.insert("AStrength", qMakePair(QVariant(20), true));
    map.insert("BBlur", qMakePair(QVariant(100), false));
    original.setUIParameters(map);
    QCOMPARE(original.value("AStrength"), QVariant(0.2));
    QCOMPARE(original.value("BBlur"), QVariant(3));
}

void TestParameters::containerEquality_data()
{
    QTest::addColumn<bool>("sameType");
    QTest::addColumn<QPoint>("rightPlace");
    QTest::addColumn<QString>("rightTag");
    QTest::addColumn<QVariant>("rightValue");
    QTest::addColumn<bool>("extraParameter");
    QTest::addColumn<bool>("equal");
    QTest::newRow("identical") << true << QPoint(0, 0) << QString() << QVariant(1) << false << true;
    QTest::newRow("places and tags differ") << true << QPoint(4, 2) << QString("tag") << QVariant(1) << false << true;
    QTest::newRow("type names differ") << false << QPoint(0, 0) << QString() << QVariant(1) << false << false;
    QTest::newRow("values differ") << true << QPoint(0, 0) << QString() << QVariant(2) << false << false;
    QTest::newRow("sizes differ") << true << QPoint(0, 0) << QString() << QVariant(1) << true << false;
}

void TestParameters::containerEquality()
{
    QFETCH(bool, sameType);
    QFETCH(QPoint, rightPlace);
    QFETCH(QString, rightTag);
    QFETCH(QVariant, rightValue);
    QFETCH(bool, extraParameter);
    QFETCH(bool, equal);
    ZelParameterDescriptionContainer left("Type", QString());
    left.add(plainParameter("Blur", 1), 0, 0);
    ZelParameterDescriptionContainer right(sameType ? "Type" : "Other", rightTag);
    ZelParameterDescription blur = plainParameter("Blur", 1);
    blur.setValue(rightValue);
    right.add(blur, rightPlace.x(), rightPlace.y());
    if (extraParameter)
        right.add(plainParameter("Extra", 1), 1, 0);
    QCOMPARE(left == right, equal);
    QCOMPARE(left != right, !equal);
}

void TestParameters::containerXmlAttributes()
{
    ZelParameterDescriptionContainer container("T", QString());
    container.add(numberParameter("AWaveLength", 20, 1, 100), 0, 0);
    container.add(plainParameter("BAmplitude", 2.5), 1, 0);
    container.add(plainParameter("CSize", QSize(4, 5)), 2, 0);
    XmlFixture xml;
    container.toXml(xml.element);
    const QDomElement element = xml.element.firstChildElement();
    QCOMPARE(element.tagName(), QString("T"));
    QCOMPARE(element.attributes().size(), 2);
    QCOMPARE(element.attribute("AWaveLength"), QString("20"));
    QCOMPARE(element.attribute("BAmplitude"), QString("2.5"));
    const QDomElement size = element.firstChildElement();
    QCOMPARE(size.tagName(), QString("CSize"));
    QCOMPARE(size.attribute("width"), QString("4"));
    QCOMPARE(size.attribute("height"), QString("5"));
    QVERIFY(size.nextSiblingElement().isNull());

    // The element is named after the tag name once one is set, else after the type name.
    container.setXMLTagName("WaveSettings");
    XmlFixture tagged;
    container.toXml(tagged.element);
    QCOMPARE(tagged.element.firstChildElement().tagName(), QString("WaveSettings"));
}

void TestParameters::containerSetXMLChangesNothing()
{
    ZelParameterDescriptionContainer container("T", QString());
    container.add(plainParameter("AWaveLength", 20), 0, 0);
    container.add(plainParameter("BColor", QColor(Qt::blue)), 1, 0);
    const ZelParameterDescriptionContainer before = container;
    XmlFixture present;
    QDomElement element = present.document.createElement("T");
    element.setAttribute("AWaveLength", "77");
    present.element.appendChild(element);
    container.setXML(present.element);
    QCOMPARE(container.value("AWaveLength"), QVariant(20));
    QCOMPARE(container.value("BColor"), QVariant(QColor(Qt::blue)));
    XmlFixture missing;
    container.setXML(missing.element);
    QVERIFY(container == before);
}

void TestParameters::parameterTypesAreTheValueClassName()
{
    ZelParameterDescriptionContainer container("T", QString());
    container.add(plainParameter("A", 1), 0, 0);
    container.add(numberParameter("B", 1, 0, 2), 1, 0);
    const QStringList types = container.parameterTypes();
    QCOMPARE(types.size(), 2);
    QCOMPARE(types.at(0), types.at(1)); // the value class, numeric or not
    QVERIFY(types.at(0).contains("ZelParameterDescription"));
}

QTEST_MAIN(TestParameters)
#include "tst_parameters.moc"
