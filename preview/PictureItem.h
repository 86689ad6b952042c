// A page of a document as an item: asks for as many pixels as it covers, and shows what it has until they
// come, stretched.
#pragma once

#include "preview/Document.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QTimer>
#include <QtQmlIntegration>

namespace slicewise {

class PictureItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(slicewise::Document *document READ document WRITE setDocument NOTIFY documentChanged)
    Q_PROPERTY(int page READ page WRITE setPage NOTIFY pageChanged)
    Q_PROPERTY(bool film READ isFilm WRITE setFilm NOTIFY filmChanged)
    Q_PROPERTY(bool ready READ isReady NOTIFY readyChanged)
    Q_PROPERTY(bool failed READ hasFailed NOTIFY readyChanged)

public:
    explicit PictureItem(QQuickItem *parent = nullptr);
    PictureItem(const PictureItem &) = delete;
    PictureItem &operator=(const PictureItem &) = delete;
    ~PictureItem() override;

    [[nodiscard]] Document *document() const { return m_document; }
    void setDocument(Document *document);
    [[nodiscard]] int page() const { return m_page; }
    void setPage(int page);
    /// Whether it shows frames as they come rather than a page.
    [[nodiscard]] bool isFilm() const { return m_film; }
    void setFilm(bool film);
    [[nodiscard]] bool isReady() const { return !m_picture.isNull(); }
    [[nodiscard]] bool hasFailed() const { return m_failed; }
    [[nodiscard]] const QImage &picture() const { return m_picture; }

    void setPicture(QImage picture);
    void setFailed();

    /// The most pixels of these proportions that may be asked for, and no more than the item covers.
    [[nodiscard]] static QSize drawablePixels(QSizeF wanted);

Q_SIGNALS:
    void documentChanged();
    void pageChanged();
    void filmChanged();
    void readyChanged();

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

private:
    void askSoon();
    void ask();
    void takeBack();
    void beginAnew(); ///< with nothing to show

    QPointer<Document> m_document;
    int m_page = 0;
    bool m_film = false;
    bool m_failed = false;
    QImage m_picture;
    bool m_pictureChanged = false;
    std::uint32_t m_ticket = 0;
    QSize m_asked;
    QTimer m_soon; ///< a pinch changes the size many times
};

} // namespace slicewise
