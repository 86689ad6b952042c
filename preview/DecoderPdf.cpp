// PDF, page by page. Nothing in a document is followed or executed: it is only drawn.
#include "preview/DecoderFile.h"

#include <QPainter>
#include <QPdfDocument>
#include <QPdfDocumentRenderOptions>

#include <algorithm>
#include <cmath>

namespace slicewise {

namespace {

std::uint32_t sideOf(double points)
{
    constexpr double kMost = 100'000;
    return static_cast<std::uint32_t>(std::clamp(std::round(points), 1.0, kMost));
}

OpenedAnswer pagesOf(const QPdfDocument &document)
{
    OpenedAnswer opened;
    const int count = std::min(document.pageCount(), static_cast<int>(AnswerLimits::kMostPages));
    for (int page = 0; page < count; ++page) {
        const QSizeF size = document.pagePointSize(page);
        opened.pages.push_back({.width = sideOf(size.width()), .height = sideOf(size.height())});
    }
    return opened;
}

void draw(QPdfDocument &document, const PageSize &page, const DrawRequest &request,
          DecoderConnection &connection)
{
    const QSize size =
        QSize(static_cast<int>(page.width), static_cast<int>(page.height))
            .scaled(static_cast<int>(request.width), static_cast<int>(request.height), Qt::KeepAspectRatio)
            .expandedTo(QSize(1, 1));
    const QImage drawn = document.render(static_cast<int>(request.page), size);
    if (drawn.isNull()) {
        connection.answer(FailedAnswer{.why = FailedAnswer::Why::Unreadable, .ticket = request.ticket});
        return;
    }
    QImage paper(drawn.size(), QImage::Format_RGBA8888_Premultiplied);
    paper.fill(Qt::white);
    QPainter(&paper).drawImage(0, 0, drawn);
    connection.answer(request.ticket, paper);
}

} // namespace

int decodePdf(DecoderFile &file, DecoderConnection &connection)
{
    QPdfDocument document;
    document.load(&file);
    if (document.status() != QPdfDocument::Status::Ready || document.pageCount() < 1) {
        const bool isLocked = document.error() == QPdfDocument::Error::IncorrectPassword;
        connection.answer(FailedAnswer{
            .why = isLocked ? FailedAnswer::Why::Locked : FailedAnswer::Why::Unreadable, .ticket = 0});
        return 0;
    }
    const OpenedAnswer opened = pagesOf(document);
    connection.answer(opened);
    while (const auto request = connection.next()) {
        const auto *wanted = std::get_if<DrawRequest>(&*request);
        if (wanted != nullptr && wanted->page < opened.pages.size()) {
            draw(document, opened.pages[wanted->page], *wanted, connection);
        }
    }
    return 0;
}

} // namespace slicewise
