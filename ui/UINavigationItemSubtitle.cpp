#include "ui/UINavigationItemSubtitle.h"

#include <QGuiApplication>

#include <utility>

namespace slicewise {

namespace {

constexpr int kTitlePixels = 17;
constexpr int kSubtitlePixels = 12;
constexpr int kFirstFlatSystem = 7;

std::optional<QString> &sharedSubtitle()
{
    static std::optional<QString> subtitle;
    return subtitle;
}

QFont systemFont(int pixels)
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(pixels);
    font.setBold(false);
    return font;
}

QFont boldSystemFont(int pixels)
{
    QFont font = systemFont(pixels);
    font.setBold(true);
    return font;
}

TitleRun styledRun(const QString &text, const QFont &font, const SystemVersion &version)
{
    constexpr double kHalf = 0.5;
    if (static_cast<int>(version.number) < kFirstFlatSystem) {
        return {.text = text,
                .font = font,
                .color = Qt::white,
                .shadowColor = QColor::fromRgbF(0, 0, 0, kHalf),
                .shadowOffset = {0, -1}};
    }
    return {.text = text, .font = font, .color = Qt::black, .shadowColor = {}, .shadowOffset = {}};
}

} // namespace

std::optional<QString> subtitle(const UINavigationItem & /*item*/)
{
    return sharedSubtitle();
}

void setSubtitle(UINavigationItem &item, const QString &subtitle, const SystemVersion &version)
{
    sharedSubtitle() = subtitle;
    if (item.titleView() == nullptr) {
        item.setTitleView(std::make_unique<TitleLabel>());
    }
    item.titleView()->setRuns(
        {styledRun(item.title() + QLatin1Char('\n'), boldSystemFont(kTitlePixels), version),
         styledRun(subtitle, systemFont(kSubtitlePixels), version)});
}

} // namespace slicewise
