// What the navigation bar shows for one screen: the title, and the button at its right.
//
// Plain data for whatever draws the bar. GUI thread. The title view comes with the subtitle
// (ui/UINavigationItemSubtitle.h); without one a bar shows the title alone. All texts are plain text, never
// markup.
#pragma once

#include "chart/UIColor.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QtQmlIntegration>

#include <array>
#include <memory>
#include <optional>

namespace slicewise {

/// A stretch of text of one look.
struct TitleRun {
    QString text;
    QFont font;
    QColor color;
    QColor shadowColor; ///< invalid: no shadow
    QPointF shadowOffset;
};

/// The view in the middle of the bar: centred lines, as many as the text has, on nothing.
class TitleLabel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A navigation item has one")
    Q_PROPERTY(QString titleLine READ titleLine NOTIFY changed)
    Q_PROPERTY(QString subtitleLine READ subtitleLine NOTIFY changed)
    Q_PROPERTY(QFont titleFont READ titleFont NOTIFY changed)
    Q_PROPERTY(QFont subtitleFont READ subtitleFont NOTIFY changed)
    Q_PROPERTY(QColor color READ color NOTIFY changed)
    Q_PROPERTY(QColor shadowColor READ shadowColor NOTIFY changed)
    Q_PROPERTY(QPointF shadowOffset READ shadowOffset NOTIFY changed)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor CONSTANT)
    Q_PROPERTY(QSizeF size READ size NOTIFY changed)

public:
    using Runs = std::array<TitleRun, 2>;
    static constexpr int kNumberOfLines = 0; ///< unlimited
    static constexpr Qt::AlignmentFlag kTextAlignment = Qt::AlignHCenter;

    /// The title, with a line feed behind it, and the subtitle.
    [[nodiscard]] const Runs &runs() const { return m_runs; }
    /// Sizes the label to fit them.
    void setRuns(Runs runs);

    [[nodiscard]] QString titleLine() const; ///< without the line feed
    [[nodiscard]] QString subtitleLine() const { return m_runs[1].text; }
    [[nodiscard]] QFont titleFont() const { return m_runs[0].font; }
    [[nodiscard]] QFont subtitleFont() const { return m_runs[1].font; }
    [[nodiscard]] QColor color() const { return m_runs[0].color; }
    [[nodiscard]] QColor shadowColor() const { return m_runs[0].shadowColor; }
    [[nodiscard]] QPointF shadowOffset() const { return m_runs[0].shadowOffset; }
    [[nodiscard]] static QColor backgroundColor() { return Qt::transparent; }
    [[nodiscard]] QSizeF size() const { return m_size; }

Q_SIGNALS:
    void changed();

private:
    Runs m_runs;
    QSizeF m_size;
};

struct BarButtonItem {
    enum class Action : unsigned char {
        None,
        ToggleEditMode,    ///< toggleEditMode()
        DeleteCurrentNode, ///< deleteCurrentNode()
    };
    enum class Look : unsigned char {
        Plain,             ///< the title
        ActivityIndicator, ///< small, grey, turning; cannot be tapped
    };
    QString title;
    Action action = Action::None;
    Look look = Look::Plain;
    std::optional<UIColor> tintColor; ///< absent: the bar's own

    friend bool operator==(const BarButtonItem &, const BarButtonItem &) = default;
};

class UINavigationItem : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(slicewise::TitleLabel *titleView READ titleView NOTIFY titleViewChanged)
    Q_PROPERTY(bool hasRightButton READ hasRightButton NOTIFY rightBarButtonItemChanged)
    Q_PROPERTY(QString rightButtonTitle READ rightButtonTitle NOTIFY rightBarButtonItemChanged)
    Q_PROPERTY(QColor rightButtonTint READ rightButtonTint NOTIFY rightBarButtonItemChanged)
    Q_PROPERTY(bool rightButtonIsSpinner READ rightButtonIsSpinner NOTIFY rightBarButtonItemChanged)
    Q_PROPERTY(bool hidesBackButton READ hidesBackButton NOTIFY hidesBackButtonChanged)

public:
    UINavigationItem() = default;

    [[nodiscard]] QString title() const { return m_title; }
    /// Does not reach a title view that is there.
    void setTitle(const QString &title);

    /// Null before the first subtitle.
    [[nodiscard]] TitleLabel *titleView() const { return m_titleView.get(); }
    void setTitleView(std::unique_ptr<TitleLabel> titleView);

    [[nodiscard]] const std::optional<BarButtonItem> &rightBarButtonItem() const
    {
        return m_rightBarButtonItem;
    }
    void setRightBarButtonItem(std::optional<BarButtonItem> item);
    [[nodiscard]] bool hasRightButton() const { return m_rightBarButtonItem.has_value(); }
    [[nodiscard]] QString rightButtonTitle() const;
    [[nodiscard]] QColor rightButtonTint() const; ///< invalid: the bar's own
    [[nodiscard]] bool rightButtonIsSpinner() const;

    /// Whether the way back is closed while this is shown.
    [[nodiscard]] bool hidesBackButton() const { return m_hidesBackButton; }
    void setHidesBackButton(bool hides);

Q_SIGNALS:
    void titleChanged();
    void titleViewChanged();
    void rightBarButtonItemChanged();
    void hidesBackButtonChanged();

private:
    QString m_title;
    std::unique_ptr<TitleLabel> m_titleView;
    std::optional<BarButtonItem> m_rightBarButtonItem;
    bool m_hidesBackButton = false;
};

} // namespace slicewise
