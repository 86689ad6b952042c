// An outline that is filled and stroked somewhere in a view, and the text that may lie on it.
//
// Position and colours have what is set (the model) and what is on screen: setting one outside a group that
// disables actions moves what is on screen there, over the group's time, from where it is. All else changes
// at once. Used on the GUI thread alone.
#pragma once

#include "chart/Transaction.h"
#include "chart/UIColor.h"

#include <QColor>
#include <QFont>
#include <QPainterPath>
#include <QPointF>
#include <QSizeF>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace slicewise {

/// The text of a slice, centred in its bounds; the bounds lie around its position by the anchor point.
struct LabelLayer {
    QString string;
    QSizeF bounds;
    QPointF position; ///< in the coordinates of the slice's outline
    QPointF anchorPoint{0.5, 0.5};
    QFont font;
    double fontSize = 0; ///< in pixels of the view
    Qt::Alignment alignment = Qt::AlignCenter;
    QColor backgroundColor = Qt::transparent;
    QColor foregroundColor = Qt::white;
    std::optional<QColor> shadowColor; ///< no shadow without
    QPointF shadowOffset;
    double shadowOpacity = 0;
    double shadowRadius = 0;
    double contentsScale = 1; ///< the pixels that are drawn for one of the view's
    bool hidden = false;
};

/// What is on screen follows what is set.
template <typename Value> class Followed {
public:
    [[nodiscard]] const Value &model() const { return m_model; }
    [[nodiscard]] Value shownAt(double seconds) const
    {
        if (!m_move || !(seconds < m_move->begin + m_move->duration)) {
            return m_model;
        }
        const double progress =
            progressAt(TimingCurve::Default, (seconds - m_move->begin) / m_move->duration);
        return between(m_move->from, m_model, progress);
    }
    [[nodiscard]] bool isMovingAt(double seconds) const
    {
        return m_move && seconds < m_move->begin + m_move->duration;
    }
    void set(const Value &value)
    {
        m_move.reset();
        m_model = value;
    }
    void moveTo(const Value &value, double nowSeconds, double durationSeconds)
    {
        const Value from = shownAt(nowSeconds);
        set(value);
        if (durationSeconds > 0 && !(from == value)) {
            m_move = Move{from, nowSeconds, durationSeconds};
        }
    }

private:
    struct Move {
        Value from;
        double begin;
        double duration;
    };

    static QPointF between(const QPointF &from, const QPointF &to, double progress)
    {
        return from + (to - from) * progress;
    }
    static UIColor between(const UIColor &from, const UIColor &to, double progress)
    {
        const auto mix = [progress](double a, double b) { return a + (b - a) * progress; };
        return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue),
                mix(from.alpha, to.alpha)};
    }

    Value m_model{};
    std::optional<Move> m_move;
};

class ShapeLayer {
public:
    /// The largest finite number of single precision: above everything.
    static constexpr double kRaisedZPosition = 3.4028234663852886e38;

    /// A layer without a transaction has never been on screen, and everything changes at once.
    explicit ShapeLayer(std::shared_ptr<Transaction> transaction = nullptr);

    /// Whether a change of the property shows by itself. None of this class does.
    [[nodiscard]] static bool needsDisplayForKey(std::string_view key);

    [[nodiscard]] const QPainterPath &path() const { return m_path; }
    void setPath(const QPainterPath &path) { m_path = path; }
    [[nodiscard]] const UIColor &fillColor() const { return m_fillColor.model(); }
    void setFillColor(const UIColor &color) { change(m_fillColor, color); }
    [[nodiscard]] const UIColor &strokeColor() const { return m_strokeColor.model(); }
    void setStrokeColor(const UIColor &color) { change(m_strokeColor, color); }
    [[nodiscard]] double lineWidth() const { return m_lineWidth; }
    void setLineWidth(double width) { m_lineWidth = width; }
    [[nodiscard]] Qt::PenJoinStyle lineJoin() const { return m_lineJoin; }
    void setLineJoin(Qt::PenJoinStyle join) { m_lineJoin = join; }
    [[nodiscard]] Qt::PenCapStyle lineCap() const { return m_lineCap; }
    void setLineCap(Qt::PenCapStyle cap) { m_lineCap = cap; }
    [[nodiscard]] QPointF position() const { return m_position.model(); }
    void setPosition(const QPointF &position) { change(m_position, position); }
    [[nodiscard]] double zPosition() const { return m_zPosition; }
    void setZPosition(double z) { m_zPosition = z; }

    /// Position or colours have not come to rest.
    [[nodiscard]] bool isMoving() const;

protected:
    [[nodiscard]] bool hasBeenOnScreen() const;
    [[nodiscard]] Transaction *transaction() const { return m_transaction.get(); }
    /// Sets what is set to what is on screen.
    void takeShownValues();

private:
    template <typename Value> void change(Followed<Value> &followed, const Value &value)
    {
        if (hasBeenOnScreen() && !m_transaction->actionsDisabled()) {
            followed.moveTo(value, m_transaction->time(), m_transaction->animationDuration());
        } else {
            followed.set(value);
        }
    }

    std::shared_ptr<Transaction> m_transaction;
    std::uint64_t m_commitsBefore = 0;
    QPainterPath m_path;
    Followed<UIColor> m_fillColor;
    Followed<UIColor> m_strokeColor;
    Followed<QPointF> m_position;
    double m_zPosition = 0;
    double m_lineWidth = 1;
    Qt::PenJoinStyle m_lineJoin = Qt::MiterJoin;
    Qt::PenCapStyle m_lineCap = Qt::FlatCap;
};

} // namespace slicewise
