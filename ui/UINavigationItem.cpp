#include "ui/UINavigationItem.h"

#include "chart/QtColor.h"

#include <QFontMetricsF>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace slicewise {

namespace {

QSizeF sizeOfLines(const QString &text, const QFont &font)
{
    const QFontMetricsF metrics(font);
    QSizeF size(0, 0);
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        size.rwidth() = std::max(size.width(), metrics.horizontalAdvance(line));
        size.rheight() += metrics.height();
    }
    return size;
}

} // namespace

void TitleLabel::setRuns(Runs runs)
{
    m_runs = std::move(runs);
    const QSizeF title = sizeOfLines(titleLine(), titleFont());
    const QSizeF subtitle = sizeOfLines(subtitleLine(), subtitleFont());
    m_size = {std::max(title.width(), subtitle.width()), title.height() + subtitle.height()};
    Q_EMIT changed();
}

QString TitleLabel::titleLine() const
{
    const QString &text = m_runs[0].text;
    return text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text;
}

void UINavigationItem::setTitle(const QString &title)
{
    if (m_title != title) {
        m_title = title;
        Q_EMIT titleChanged();
    }
}

void UINavigationItem::setTitleView(std::unique_ptr<TitleLabel> titleView)
{
    // The old one goes after everybody has been told that it is another one now.
    const std::unique_ptr<TitleLabel> old = std::exchange(m_titleView, std::move(titleView));
    Q_EMIT titleViewChanged();
}

void UINavigationItem::setRightBarButtonItem(std::optional<BarButtonItem> item)
{
    if (m_rightBarButtonItem != item) {
        m_rightBarButtonItem = std::move(item);
        Q_EMIT rightBarButtonItemChanged();
    }
}

QString UINavigationItem::rightButtonTitle() const
{
    return m_rightBarButtonItem ? m_rightBarButtonItem->title : QString();
}

QColor UINavigationItem::rightButtonTint() const
{
    return m_rightBarButtonItem && m_rightBarButtonItem->tintColor
               ? toQColor(*m_rightBarButtonItem->tintColor)
               : QColor();
}

bool UINavigationItem::rightButtonIsSpinner() const
{
    return m_rightBarButtonItem && m_rightBarButtonItem->look == BarButtonItem::Look::ActivityIndicator;
}

void UINavigationItem::setHidesBackButton(bool hides)
{
    if (m_hidesBackButton != hides) {
        m_hidesBackButton = hides;
        Q_EMIT hidesBackButtonChanged();
    }
}

} // namespace slicewise
