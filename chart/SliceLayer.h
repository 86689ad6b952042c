// One slice of a pie: its data, its outline, its label, and two angles that move.
//
// The angles have what is set (the model) and what is on screen, which presentationLayer() shows; a running
// animation is the difference. Angles are in radians and grow clockwise on a screen, from 0 on the right.
// Used on the GUI thread alone.
#pragma once

#include "chart/ShapeLayer.h"

#include <QString>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace slicewise {

class SliceLayer : public ShapeLayer {
public:
    static constexpr std::string_view kStartAngle = "startAngle";
    static constexpr std::string_view kEndAngle = "endAngle";

    /// Without a transaction, animations have no time to run in and set their value at once.
    explicit SliceLayer(std::shared_ptr<Transaction> transaction = nullptr);

    /// A copy for showing: with all that makes up the outline, but of the data only the two angles.
    [[nodiscard]] static SliceLayer initWithLayer(const SliceLayer &layer);

    /// True for the two angles.
    [[nodiscard]] static bool needsDisplayForKey(std::string_view key);

    /// The value as the data source gave it.
    [[nodiscard]] double value() const { return m_value; }
    void setValue(double value) { m_value = value; }
    /// The share of the total as a fraction from 0 to 1.
    [[nodiscard]] double percentage() const { return m_percentage; }
    void setPercentage(double percentage) { m_percentage = percentage; }
    [[nodiscard]] double startAngle() const { return m_startAngle; }
    void setStartAngle(double angleRadians) { m_startAngle = angleRadians; }
    [[nodiscard]] double endAngle() const { return m_endAngle; }
    void setEndAngle(double angleRadians) { m_endAngle = angleRadians; }
    /// Pulled out of the pie.
    [[nodiscard]] bool isSelected() const { return m_isSelected; }
    void setIsSelected(bool selected) { m_isSelected = selected; }
    [[nodiscard]] const std::optional<QString> &text() const { return m_text; }
    void setText(std::optional<QString> text) { m_text = std::move(text); }

    /// The one layer that lies on this one.
    [[nodiscard]] LabelLayer &label() { return m_label; }
    [[nodiscard]] const LabelLayer &label() const { return m_label; }

    /// "value:5.000000, percentage:0, start:90.000000, end:180.000000": the share is rounded, the angles in
    /// degrees.
    [[nodiscard]] QString description() const;

    /// Absent for what is none of the two angles.
    [[nodiscard]] std::optional<double> valueForKey(std::string_view key) const;
    /// Ignored for what is none of the two angles.
    void setValueForKey(double value, std::string_view key);

    /// What is on screen at the transaction's time; absent for a layer that has not been there yet.
    [[nodiscard]] std::optional<SliceLayer> presentationLayer() const;

    /// Sets an angle, and moves what is on screen there from where it is now, over the transaction's time.
    /// `fromValue` counts only where nothing has been on screen. Takes the place of an animation of the same
    /// key. Other keys than the two angles are ignored.
    void createArcAnimationForKeyFromValueToValueDelegateLinear(std::string_view key, double fromValue,
                                                                double toValue,
                                                                ArcAnimationDelegate *delegate,
                                                                TimingCurve timing);

    /// The one that runs, or null.
    [[nodiscard]] std::shared_ptr<const ArcAnimation> animationForKey(std::string_view key) const;
    /// What is on screen jumps to what is set; the delegates hear that it was not finished.
    void removeAllAnimations();
    /// Takes out those that are over at the transaction's time; the caller tells their delegates.
    [[nodiscard]] std::vector<std::shared_ptr<const ArcAnimation>> takeFinishedAnimations();

private:
    using Running = std::shared_ptr<ArcAnimation>;
    [[nodiscard]] Running *runningForKey(std::string_view key);
    [[nodiscard]] double shownAngle(const Running &running, double model) const;

    double m_value = 0;
    double m_percentage = 0;
    double m_startAngle = 0;
    double m_endAngle = 0;
    bool m_isSelected = false;
    std::optional<QString> m_text;
    LabelLayer m_label;
    Running m_startAnimation;
    Running m_endAnimation;
};

} // namespace slicewise
