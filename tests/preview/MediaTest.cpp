// Sound and film as they are touched.
#include "tests/preview/MediaSamples.h"
#include "tests/preview/SheetsFixture.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

class Media : public Sheets {
protected:
    Media()
    {
        QObject::connect(&engine, &QQmlEngine::warnings, &window, [this](const QList<QQmlError> &errors) {
            for (const QQmlError &error : errors) {
                ADD_FAILURE() << error.toString().toStdString();
            }
        });
    }
    void open(const std::string &name, const std::string &content)
    {
        preview.directory.writeFile(name, content);
        present("presentPreview", "/" + name);
        settle();
        ASSERT_EQ(document()->view(), Document::View::Media) << document()->message().toStdString();
    }
    [[nodiscard]] QColor middleOfScreen()
    {
        const QQuickItem *screen = find("screen");
        const QPointF middle = screen->mapToScene({screen->width() / 2, screen->height() / 2});
        return window.grabWindow().pixelColor((middle * window.effectiveDevicePixelRatio()).toPoint());
    }
    [[nodiscard]] bool isRed()
    {
        const QColor colour = middleOfScreen();
        return colour.red() > 200 && colour.blue() < 80;
    }
    [[nodiscard]] bool isBlue()
    {
        const QColor colour = middleOfScreen();
        return colour.blue() > 200 && colour.red() < 80;
    }
};

TEST_F(Media, aSoundIsPlayedByATouchAndByTheSpaceBar)
{
    open("tone.wav", silence());
    EXPECT_FALSE(find("screen")->isVisible());
    EXPECT_EQ(find("play")->property("text"), "Play");
    tap("play");
    EXPECT_TRUE(eventually([&] { return document()->isPlaying(); }));
    EXPECT_EQ(find("play")->property("text"), "Pause");
    tap("play");
    EXPECT_TRUE(eventually([&] { return !document()->isPlaying(); }));
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_TRUE(eventually([&] { return document()->isPlaying(); }));
}

TEST_F(Media, aFilmShowsItsFirstPictureAndTheOneThatItIsBroughtTo)
{
    open("film.avi", film());
    EXPECT_TRUE(document()->hasVideo());
    EXPECT_EQ(document()->durationMs(), 3000);
    EXPECT_TRUE(find("screen")->isVisible());
    EXPECT_TRUE(eventually([&] { return isRed(); }));
    savePicture("film");
    QQuickItem *slider = find("position");
    ASSERT_TRUE(slider->isEnabled());
    const QPoint end = slider->mapToScene({slider->width() * 0.8, slider->height() / 2}).toPoint();
    QTest::mouseClick(&window, Qt::LeftButton, Qt::NoModifier, end);
    EXPECT_TRUE(eventually([&] { return document()->positionMs() > 2000; }));
    EXPECT_TRUE(eventually([&] { return isBlue(); }));
}

TEST_F(Media, ThePositionStaysWithTheFingerThatHoldsIt)
{
    open("film.avi", film());
    QQuickItem *slider = find("position");
    const auto at = [&](double part) {
        return slider->mapToScene({slider->width() * part, slider->height() / 2}).toPoint();
    };
    ASSERT_TRUE(eventually([&] { return isRed(); }));
    QTest::mousePress(&window, Qt::LeftButton, Qt::NoModifier, at(0.3));
    QTest::mouseMove(&window, at(0.6));
    EXPECT_TRUE(eventually([&] { return document()->positionMs() > 1500; }));
    EXPECT_TRUE(eventually([&] { return isBlue(); }));
    const double held = slider->property("value").toDouble();
    document()->seek(0);
    EXPECT_TRUE(eventually([&] { return document()->positionMs() == 0; }));
    EXPECT_EQ(slider->property("value").toDouble(), held);
    QTest::mouseRelease(&window, Qt::LeftButton, Qt::NoModifier, at(0.6));
    EXPECT_TRUE(eventually([&] { return slider->property("value").toInt() == document()->positionMs(); }));
}

TEST_F(Media, tabLeadsToWhatPlaysIt)
{
    open("tone.wav", silence());
    for (int i = 0; i < 8 && !find("play")->hasActiveFocus(); ++i) {
        QTest::keyClick(&window, Qt::Key_Tab);
    }
    EXPECT_TRUE(find("play")->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_TRUE(eventually([&] { return document()->isPlaying(); }));
}

} // namespace

} // namespace slicewise
