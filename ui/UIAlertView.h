// A message over a screen, with one button that closes it.
//
// Plain data for whatever draws it, which calls dismiss() when the button was tapped. GUI thread. All texts
// are plain text, never markup.
#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace slicewise {

class UIAlertView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")
    Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(QString cancelButtonTitle READ cancelButtonTitle NOTIFY changed)

public:
    struct Texts {
        QString title;
        QString message;
        QString cancelButtonTitle;
    };

    UIAlertView() = default;

    void show(Texts texts);
    /// The texts stay, for what fades out.
    Q_INVOKABLE void dismiss();

    [[nodiscard]] bool isVisible() const { return m_visible; }
    [[nodiscard]] QString title() const { return m_texts.title; }
    [[nodiscard]] QString message() const { return m_texts.message; }
    [[nodiscard]] QString cancelButtonTitle() const { return m_texts.cancelButtonTitle; }

Q_SIGNALS:
    void changed();

private:
    Texts m_texts;
    bool m_visible = false;
};

} // namespace slicewise
