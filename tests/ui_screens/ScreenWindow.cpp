#include "tests/ui_screens/ScreenWindow.h"

#include <QDeadlineTimer>
#include <QQmlComponent>
#include <QQmlError>
#include <QTest>
#include <QTouchEvent>

#include <algorithm>
#include <chrono>
#include <stdexcept>

// Made by the build; calling them keeps the linker from leaving the types out.
void qml_register_types_Slicewise_Chart();
void qml_register_types_Slicewise_Ui();

namespace slicewise {

namespace {

constexpr std::chrono::seconds kLongest{30};

void collect(QQuickItem &above, const std::function<bool(QQuickItem &)> &wanted,
             std::vector<QQuickItem *> &found)
{
    if (wanted(above)) {
        found.push_back(&above);
    }
    for (QQuickItem *const child : above.childItems()) {
        collect(*child, wanted, found);
    }
}

bool isOfType(const QQuickItem &item, const QString &type)
{
    const QString name = QString::fromUtf8(item.metaObject()->className());
    return name == type || name.startsWith(type + QStringLiteral("_QMLTYPE_"));
}

QQuickItem &itemOf(const QObject &holder, const char *property)
{
    auto *const item = qvariant_cast<QQuickItem *>(holder.property(property));
    if (item == nullptr) {
        throw std::logic_error(std::string("nothing in ") + property);
    }
    return *item;
}

} // namespace

bool comesTrue(const std::function<bool()> &condition)
{
    const QDeadlineTimer end(kLongest);
    while (!condition()) {
        if (end.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTest::qSleep(1);
    }
    return true;
}

namespace {

/// Of the whole process: Qt frees none, and keeps what touches it has seen.
QPointingDevice *finger()
{
    static QPointingDevice *const device = QTest::createTouchDevice();
    return device;
}

} // namespace

ScreenWindow::ScreenWindow(SZANavigationController &stack, const Look &look) : m_finger(finger())
{
    qml_register_types_Slicewise_Chart();
    qml_register_types_Slicewise_Ui();
    QQmlEngine &engine = *m_view.engine();
    engine.setOutputWarningsToStandardError(true);
    QObject::connect(&engine, &QQmlEngine::warnings, &engine, [this](const QList<QQmlError> &errors) {
        for (const QQmlError &error : errors) {
            m_warnings.push_back(error.toString());
        }
    });
    // Whatever the fonts of the machine are.
    QQmlComponent setUp(&engine);
    setUp.setData("import QtQml\nimport Slicewise.Ui\n"
                  "QtObject { Component.onCompleted: Theme.textScale = 1; property bool dark: false; "
                  "onDarkChanged: Theme.dark = dark }",
                  QUrl());
    const std::unique_ptr<QObject> theme(setUp.create());
    if (theme == nullptr) {
        throw std::logic_error(setUp.errorString().toStdString());
    }
    theme->setProperty("dark", look.dark);

    m_view.setResizeMode(QQuickView::SizeRootObjectToView);
    m_view.resize(look.size);
    m_view.setInitialProperties({{QStringLiteral("navigation"), QVariant::fromValue(&stack)},
                                 {QStringLiteral("pad"), look.pad},
                                 {QStringLiteral("mirrored"), look.mirrored}});
    m_view.setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Slicewise/Ui/Browser.qml")));
    if (m_view.rootObject() == nullptr) {
        throw std::logic_error(m_warnings.join(QLatin1Char('\n')).toStdString());
    }
    m_view.show();
    m_view.requestActivate();
}

ScreenWindow::~ScreenWindow() = default;

QQuickItem &ScreenWindow::screens() const
{
    return *browser().findChild<QQuickItem *>(QStringLiteral("screens"));
}

bool ScreenWindow::comesToRest()
{
    return comesTrue([this] {
        return !isMoving() && !chart().hasAnimationTimer() && !list().property("moving").toBool() &&
               std::ranges::none_of(chart().sliceLayers(),
                                    [](const auto &layer) { return layer->isMoving(); });
    });
}

QQuickItem *ScreenWindow::topPage() const
{
    return qvariant_cast<QQuickItem *>(screens().property("topPage"));
}

SZAViewController *ScreenWindow::topScreen() const
{
    QQuickItem *const page = topPage();
    return page != nullptr ? qvariant_cast<SZAViewController *>(page->property("screen")) : nullptr;
}

QVPieChart &ScreenWindow::chart() const
{
    return dynamic_cast<QVPieChart &>(itemOf(itemOf(*topPage(), "chartPane"), "chart"));
}

QQuickItem &ScreenWindow::list() const
{
    return itemOf(*topPage(), "nodeList");
}

QQuickItem &ScreenWindow::barItem() const
{
    return itemOf(*topPage(), "barItem");
}

QQuickItem &ScreenWindow::inBar(const QString &name) const
{
    auto *const item = barItem().findChild<QQuickItem *>(name);
    if (item == nullptr) {
        throw std::logic_error("not in the bar: " + name.toStdString());
    }
    return *item;
}

std::vector<QQuickItem *> ScreenWindow::pages() const
{
    std::vector<QQuickItem *> found;
    collect(
        screens(), [](const QQuickItem &item) { return item.property("chartPane").isValid(); }, found);
    return found;
}

std::vector<QQuickItem *> ScreenWindow::rows() const
{
    std::vector<QQuickItem *> found = itemsOfType(list(), QStringLiteral("NodeRow"));
    std::erase_if(
        found, [](const QQuickItem *row) { return !row->isVisible() || row->property("index").toInt() < 0; });
    std::ranges::sort(found, {}, [](const QQuickItem *row) { return row->property("index").toInt(); });
    return found;
}

QQuickItem *ScreenWindow::row(int index) const
{
    for (QQuickItem *const each : rows()) {
        if (each->property("index").toInt() == index) {
            return each;
        }
    }
    return nullptr;
}

std::vector<QQuickItem *> ScreenWindow::itemsOfType(QQuickItem &above, const QString &type)
{
    std::vector<QQuickItem *> found;
    collect(
        above, [&](const QQuickItem &item) { return isOfType(item, type); }, found);
    return found;
}

QQuickItem *ScreenWindow::itemNamed(QQuickItem &above, const QString &name)
{
    std::vector<QQuickItem *> found;
    collect(
        above, [&](const QQuickItem &item) { return item.isVisible() && item.objectName() == name; }, found);
    return found.empty() ? nullptr : found.front();
}

void ScreenWindow::scrollTo(int row)
{
    constexpr int kCenter = 1; // ListView.Center
    QMetaObject::invokeMethod(&list(), "positionViewAtIndex", Q_ARG(int, row), Q_ARG(int, kCenter));
}

QStringList ScreenWindow::textsIn(QQuickItem &above)
{
    std::vector<QQuickItem *> found;
    collect(
        above, [](const QQuickItem &item) { return item.isVisible() && item.inherits("QQuickText"); }, found);
    QStringList texts;
    for (const QQuickItem *const item : found) {
        texts.push_back(item->property("text").toString());
    }
    return texts;
}

QPointF ScreenWindow::middleOf(const QQuickItem &item)
{
    return item.mapToScene(QPointF(item.width() / 2, item.height() / 2));
}

QPointF ScreenWindow::middleOfSlice(std::size_t index) const
{
    const QVPieChart &pie = chart();
    const SliceLayer &slice = *pie.sliceLayers().at(index);
    const double angle = (slice.startAngle() + slice.endAngle()) / 2;
    const QPointF middle = pie.pieView().frame.topLeft() + pie.pieCenter();
    return pie.mapToScene(middle + 0.6 * pie.pieRadius() * QPointF(std::cos(angle), std::sin(angle)));
}

void ScreenWindow::press(const QPointF &point)
{
    QTest::touchEvent(&m_view, m_finger).press(1, point.toPoint(), &m_view);
}

void ScreenWindow::move(const QPointF &point)
{
    QTest::touchEvent(&m_view, m_finger).move(1, point.toPoint(), &m_view);
}

void ScreenWindow::release(const QPointF &point)
{
    QTest::touchEvent(&m_view, m_finger).release(1, point.toPoint(), &m_view);
}

void ScreenWindow::cancel()
{
    QTouchEvent cancelled(QEvent::TouchCancel, m_finger);
    QCoreApplication::sendEvent(&m_view, &cancelled);
}

void ScreenWindow::tap(const QPointF &point)
{
    press(point);
    release(point);
}

void ScreenWindow::drag(const QPointF &from, const QPointF &to)
{
    constexpr int kSteps = 12;
    press(from);
    for (int step = 1; step <= kSteps; ++step) {
        QTest::qWait(8);
        move(from + (to - from) * step / kSteps);
    }
}

void ScreenWindow::key(Qt::Key key)
{
    QTest::keyClick(&m_view, key);
}

void ScreenWindow::repeat(Qt::Key key)
{
    for (int i = 0; i < 3; ++i) {
        // Some systems let it go in between.
        for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
            QKeyEvent again(type, key, Qt::NoModifier, {}, true);
            QCoreApplication::sendEvent(&m_view, &again);
        }
    }
}

void ScreenWindow::hold(Qt::Key key)
{
    QTest::keyPress(&m_view, key);
    repeat(key);
    QTest::keyRelease(&m_view, key);
}

} // namespace slicewise
