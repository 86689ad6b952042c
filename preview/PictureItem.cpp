#include "preview/PictureItem.h"

#include "preview/DecoderMessages.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace slicewise {

namespace {

constexpr int kPauseMs = 40;

} // namespace

PictureItem::PictureItem(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &PictureItem::ask);
}

PictureItem::~PictureItem()
{
    takeBack();
}

void PictureItem::takeBack()
{
    if (m_document != nullptr && m_ticket != 0) {
        m_document->forgetDrawing(m_ticket);
    }
    m_ticket = 0;
    m_asked = {};
}

void PictureItem::beginAnew()
{
    setPicture({});
    askSoon();
}

void PictureItem::setDocument(Document *document)
{
    if (m_document == document) {
        return;
    }
    takeBack();
    m_document = document;
    Q_EMIT documentChanged();
    beginAnew();
}

void PictureItem::setPage(int page)
{
    if (m_page == page) {
        return;
    }
    takeBack();
    m_page = page;
    Q_EMIT pageChanged();
    beginAnew();
}

void PictureItem::setFilm(bool film)
{
    if (m_film != film) {
        m_film = film;
        Q_EMIT filmChanged();
        askSoon();
    }
}

void PictureItem::setPicture(QImage picture)
{
    m_ticket = 0;
    m_picture = std::move(picture);
    m_pictureChanged = true;
    m_failed = false;
    Q_EMIT readyChanged();
    update();
}

void PictureItem::setFailed()
{
    m_ticket = 0;
    m_failed = true;
    Q_EMIT readyChanged();
}

QSize PictureItem::drawablePixels(QSizeF wanted)
{
    constexpr double kMostSide = AnswerLimits::kMostSide;
    constexpr auto kMostPixels = static_cast<double>(AnswerLimits::kMostPixels);
    if (!(wanted.width() >= 1) || !(wanted.height() >= 1)) {
        return {};
    }
    const double scale = std::min({1.0, kMostSide / std::max(wanted.width(), wanted.height()),
                                   std::sqrt(kMostPixels / (wanted.width() * wanted.height()))});
    return {std::max(1, static_cast<int>(std::floor(wanted.width() * scale))),
            std::max(1, static_cast<int>(std::floor(wanted.height() * scale)))};
}

void PictureItem::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        askSoon();
        update();
    }
}

void PictureItem::itemChange(ItemChange change, const ItemChangeData &data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) {
        askSoon();
    }
}

void PictureItem::askSoon()
{
    // The first time at once.
    m_soon.start(isReady() ? kPauseMs : 0);
}

void PictureItem::ask()
{
    if (m_document == nullptr || window() == nullptr) {
        return;
    }
    const QSize pixels = drawablePixels(size() * window()->effectiveDevicePixelRatio());
    if (pixels.isEmpty() || pixels == m_asked) {
        return;
    }
    takeBack();
    m_asked = pixels;
    if (m_film) {
        m_document->setScreen(this, pixels);
    } else {
        m_ticket = m_document->draw(this, m_page, pixels);
    }
}

QSGNode *PictureItem::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/)
{
    // The scene graph owns what it is given.
    std::unique_ptr<QSGNode> before(node);
    if (m_picture.isNull() || width() <= 0 || height() <= 0) {
        return nullptr;
    }
    auto *image = static_cast<QSGImageNode *>(before.release());
    if (image == nullptr) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
        image->setFiltering(QSGTexture::Linear);
        m_pictureChanged = true;
    }
    if (m_pictureChanged) {
        image->setTexture(window()->createTextureFromImage(m_picture));
        m_pictureChanged = false;
    }
    // In the middle, its proportions kept: they differ from the item's by a rounding, or by a film's bars.
    const QSizeF shown = QSizeF(m_picture.size()).scaled(size(), Qt::KeepAspectRatio);
    image->setRect(QRectF(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2), shown));
    return image;
}

} // namespace slicewise
