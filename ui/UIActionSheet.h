// A question that comes up from the edge of a screen, or out of a button: one answer destroys something, the
// other cancels.
//
// Plain data for whatever draws it, which hands the answer to the screen. GUI thread. All texts are plain
// text, never markup.
#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace slicewise {

class UIActionSheet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")
    Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
    Q_PROPERTY(slicewise::UIActionSheet::Origin origin READ origin NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString cancelButtonTitle READ cancelButtonTitle NOTIFY changed)
    Q_PROPERTY(QString destructiveButtonTitle READ destructiveButtonTitle NOTIFY changed)
    Q_PROPERTY(int destructiveButtonIndex READ destructiveButtonIndex CONSTANT)
    Q_PROPERTY(int cancelButtonIndex READ cancelButtonIndex CONSTANT)

public:
    // A whole int: scripts read that much of it.
    enum class Origin : int {
        View,          ///< the screen's
        BarButtonItem, ///< the right one
    };
    Q_ENUM(Origin)

    struct Texts {
        QString title;
        QString cancelButtonTitle;
        QString destructiveButtonTitle;
    };

    UIActionSheet() = default;

    void showInView(Texts texts);
    void showFromBarButtonItem(Texts texts);
    /// The texts stay, for what fades out.
    void dismiss();

    [[nodiscard]] bool isVisible() const { return m_visible; }
    [[nodiscard]] Origin origin() const { return m_origin; }
    [[nodiscard]] QString title() const { return m_texts.title; }
    [[nodiscard]] QString cancelButtonTitle() const { return m_texts.cancelButtonTitle; }
    [[nodiscard]] QString destructiveButtonTitle() const { return m_texts.destructiveButtonTitle; }
    [[nodiscard]] static int destructiveButtonIndex() { return 0; }
    [[nodiscard]] static int cancelButtonIndex() { return 1; }

Q_SIGNALS:
    void changed();

private:
    void show(Origin origin, Texts texts);

    Texts m_texts;
    Origin m_origin = Origin::View;
    bool m_visible = false;
};

} // namespace slicewise
