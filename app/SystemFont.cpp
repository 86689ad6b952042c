#include "app/SystemFont.h"

#include <QFont>
#include <QFontInfo>
#include <QGuiApplication>

namespace slicewise {

namespace {

/// What is asked for where no desktop has a wish of its own.
bool isAnyFont(const QString &family)
{
    return family.isEmpty() || family.startsWith(QLatin1String("Sans"), Qt::CaseInsensitive) ||
           family.compare(QLatin1String("system-ui"), Qt::CaseInsensitive) == 0;
}

/// What comes out where nobody has installed a font for the screen.
bool isLastResort(const QString &family)
{
    return family == QLatin1String("DejaVu Sans") || family == QLatin1String("Bitstream Vera Sans");
}

} // namespace

QString familyInsteadOf(const QString &requested, const QString &resolved)
{
    return isAnyFont(requested) && isLastResort(resolved) ? QString::fromLatin1(kFontWhereThereIsNone)
                                                          : QString();
}

void chooseSystemFont()
{
    QFont font = QGuiApplication::font();
    const QString better = familyInsteadOf(font.family(), QFontInfo(font).family());
    if (better.isEmpty()) {
        return;
    }
    font.setFamily(better);
    if (QFontInfo(font).family() == better) {
        QGuiApplication::setFont(font);
    }
}

} // namespace slicewise
