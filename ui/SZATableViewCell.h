// A row of the table: a name, its size in grey beneath, and at the right a small disc in the colour of the
// row's slice.
//
// A value, for any thread that may paint. Texts are plain text, never markup.
#pragma once

#include "chart/UIColor.h"

#include <QImage>
#include <QPainter>
#include <QString>

#include <cstdint>
#include <optional>

namespace slicewise {

class SZATableViewCell {
public:
    enum class Style : std::uint8_t {
        Default = 0,
        Value1 = 1,
        Value2 = 2,
        Subtitle = 3, ///< a main text with a detail line under it
    };
    enum class Selectable : bool { No, Yes };

    static constexpr UIColor kDetailTextColor = {.red = 0.5, .green = 0.5, .blue = 0.5, .alpha = 1};
    static constexpr bool kShouldIndentWhileEditing = false; ///< rows don't move right in edit mode

    /// Whatever the style, the cell has that of a subtitle.
    SZATableViewCell(Style style, QString reuseIdentifier);

    [[nodiscard]] static Style style() { return Style::Subtitle; }
    [[nodiscard]] const QString &reuseIdentifier() const { return m_reuseIdentifier; }

    [[nodiscard]] const QString &text() const { return m_text; }
    void setText(QString text);
    [[nodiscard]] const QString &detailText() const { return m_detailText; }
    void setDetailText(QString text);
    [[nodiscard]] Selectable selectable() const { return m_selectable; }
    void setSelectable(Selectable selectable) { m_selectable = selectable; }

    [[nodiscard]] std::uint8_t circleSize() const { return m_circleSize; } ///< side of the swatch, in points
    [[nodiscard]] std::uint8_t circleStroke() const
    {
        return m_circleStroke;
    } ///< from its edge to the disc, in points
    /// Absent before one is set.
    [[nodiscard]] const std::optional<UIColor> &nodeColor() const { return m_nodeColor; }
    void setNodeColor(const UIColor &color) { m_nodeColor = color; }
    /// The swatch, with so many pixels for a point; without a colour it is empty.
    [[nodiscard]] QImage nodeColorImage(double scale) const;

private:
    QString m_reuseIdentifier;
    QString m_text;
    QString m_detailText;
    Selectable m_selectable = Selectable::No;
    std::uint8_t m_circleSize = 12;
    std::uint8_t m_circleStroke = 1;
    std::optional<UIColor> m_nodeColor;
};

/// The rim of a swatch: the colour with 0.8 of its brightness, opaque.
[[nodiscard]] UIColor swatchRimColor(const UIColor &color);
/// A disc in a square of that side, so far away from its edges.
void paintSwatch(QPainter &painter, const UIColor &color, double sidePoints, double insetPoints);

} // namespace slicewise
