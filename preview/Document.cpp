#include "preview/Document.h"

#include "preview/MemoryFile.h"
#include "preview/PictureItem.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <variant>

namespace slicewise {

namespace {

std::optional<DecoderTask> taskFor(ContentKind kind)
{
    switch (kind) {
    case ContentKind::Image:
        return DecoderTask::Image;
    case ContentKind::Pdf:
        return DecoderTask::Pdf;
    case ContentKind::PropertyList:
        return DecoderTask::PropertyList;
    case ContentKind::Audio:
    case ContentKind::Video:
        return DecoderTask::Media;
    default:
        return std::nullopt;
    }
}

} // namespace

Document::Document(Origin origin)
    : m_origin(std::move(origin)),
      m_mailbox(std::make_shared<Mailbox>(*this)),
      m_reading(std::make_unique<ReadingThread>())
{
    m_reading->ask([this, mailbox = m_mailbox, device = m_origin.device, path = m_origin.path] {
        DocumentFacts facts = readDocumentFacts(*device, path);
        mailbox->post([this, facts = std::move(facts)]() mutable { opened(std::move(facts)); });
    });
}

Document::~Document()
{
    m_mailbox->close();
    letDecoderGo();
    if (m_origin.ending != nullptr) {
        m_origin.ending->take(std::move(m_reading));
    }
}

QString Document::pathText() const
{
    return QString::fromStdString(shownText(m_origin.path));
}

QString Document::kindText() const
{
    return slicewise::kindText(m_facts.kind, m_origin.path);
}

QString Document::sizeText() const
{
    return QString::fromStdString(sizeTextForBytes(m_facts.sizeBytes));
}

QString Document::exactSizeText() const
{
    return slicewise::exactSizeText(m_facts.sizeBytes);
}

// ---- what is shown

void Document::opened(DocumentFacts facts)
{
    m_facts = std::move(facts);
    Q_EMIT factsChanged();
    if (m_isEnding) {
        return;
    }
    if (m_facts.error != 0) {
        m_facts.file.reset();
        show(View::Notice, openErrorText(m_facts.error));
        return;
    }
    if (const auto task = taskFor(m_facts.kind)) {
        startDecoder(*task);
        return;
    }
    switch (m_facts.kind) {
    case ContentKind::Empty:
        show(View::Notice, tr("The file is empty."));
        break;
    case ContentKind::Text:
        showText(m_facts.file, m_facts.sizeBytes, m_facts.head);
        break;
    default:
        showBytes();
        break;
    }
}

void Document::show(View view, const QString &message)
{
    m_view = view;
    m_message = message;
    Q_EMIT viewChanged();
}

void Document::showText(std::shared_ptr<ReadableFile> file, std::uint64_t sizeBytes, const std::string &head)
{
    // Guessing an encoding looks at a good deal of text.
    m_reading->ask([this, mailbox = m_mailbox, file = std::move(file), sizeBytes, head] {
        auto source = std::make_shared<const TextSource>(sizeBytes, head);
        mailbox->post([this, file, source] {
            m_pieces.setSource(source, file);
            m_detail = source->encoding();
            show(View::Text);
        });
    });
}

void Document::showBytes()
{
    if (m_facts.file == nullptr) {
        return;
    }
    letDecoderGo();
    m_pieces.setSource(std::make_shared<const ByteSource>(m_facts.sizeBytes, m_bytesOfLine), m_facts.file);
    show(View::Bytes, m_message);
}

void Document::setBytesOfLine(int bytes)
{
    const unsigned wanted = static_cast<unsigned>(std::max(1, bytes));
    if (wanted == m_bytesOfLine) {
        return;
    }
    m_bytesOfLine = wanted;
    if (m_view == View::Bytes) {
        m_pieces.setSource(std::make_shared<const ByteSource>(m_facts.sizeBytes, m_bytesOfLine),
                           m_facts.file);
    }
    Q_EMIT bytesOfLineChanged();
}

QSize Document::pageSize(int page) const
{
    if (page < 0 || page >= pageCount()) {
        return {};
    }
    const auto side = [](std::uint32_t value) {
        return static_cast<int>(std::min<std::uint32_t>(value, std::numeric_limits<int>::max()));
    };
    const PageSize &size = m_pages[static_cast<std::size_t>(page)];
    return {side(size.width), side(size.height)};
}

// ---- decoding

void Document::startDecoder(DecoderTask task)
{
    Result<UniqueFd> descriptor = m_facts.file->descriptor();
    if (!descriptor || m_origin.decoder.empty()) {
        decodingFailed(failureText(FailedAnswer::Why::NotInstalled));
        return;
    }
    DecoderStart start{.program = m_origin.decoder,
                       .task = task,
                       .file = std::move(descriptor).value(),
                       .mostPatience = m_origin.mostPatience};
    m_decoder = std::make_unique<DecoderThread>(
        std::move(start), [this, mailbox = m_mailbox](std::optional<Answer> answer) {
            const auto sent = std::make_shared<std::optional<Answer>>(std::move(answer));
            mailbox->post([this, sent] { answered(*sent); });
        });
}

void Document::letDecoderGo()
{
    if (m_decoder != nullptr && m_origin.ending != nullptr) {
        m_origin.ending->take(std::move(m_decoder));
    }
    m_decoder.reset();
}

void Document::endThreads()
{
    m_isEnding = true;
    letDecoderGo();
}

void Document::answered(const std::optional<Answer> &answer)
{
    if (m_decoder == nullptr) { // it was sent before we let the decoder go
        return;
    }
    if (!answer) {
        decodingFailed(failureText(FailedAnswer::Why::Unreadable));
        return;
    }
    std::visit([this](const auto &one) { received(one); }, *answer);
}

void Document::received(const OpenedAnswer &opened)
{
    m_pages = opened.pages;
    if (m_facts.kind == ContentKind::Pdf) {
        m_detail = m_pages.size() == 1 ? tr("1 page") : tr("%1 pages").arg(m_pages.size());
        show(View::Pages);
    } else {
        m_detail = tr("%1 × %2 pixels").arg(m_pages.front().width).arg(m_pages.front().height);
        show(View::Picture);
    }
}

void Document::received(const PictureAnswer &picture)
{
    QPointer<PictureItem> item = picture.ticket == 0 ? m_screen : m_drawings.take(picture.ticket);
    if (item != nullptr) {
        const QImage borrowed(reinterpret_cast<const uchar *>(picture.pixels.data()),
                              static_cast<int>(picture.width), static_cast<int>(picture.height),
                              static_cast<qsizetype>(picture.width) * 4,
                              QImage::Format_RGBA8888_Premultiplied);
        item->setPicture(borrowed.copy());
    }
    if (picture.ticket == 0) {
        m_frameAsked = false;
        askForFrame();
    }
}

void Document::received(const TextAnswer &text)
{
    letDecoderGo();
    const std::string head = text.text.substr(0, kHeadBytes);
    showText(std::make_shared<MemoryFile>(text.text), text.text.size(), head);
}

void Document::received(const PlaybackAnswer &playback)
{
    m_playback = playback;
    if (m_view == View::Opening) {
        show(View::Media);
    }
    Q_EMIT playbackChanged();
    askForFrame();
}

void Document::received(const FailedAnswer &failed)
{
    if (failed.ticket == 0) {
        decodingFailed(failureText(failed.why));
        return;
    }
    if (const QPointer<PictureItem> item = m_drawings.take(failed.ticket); item != nullptr) {
        item->setFailed();
    }
}

QString Document::failureText(FailedAnswer::Why why) const
{
    switch (why) {
    case FailedAnswer::Why::NotInstalled:
        return tr("There is nothing installed that shows files of this kind.");
    case FailedAnswer::Why::TooLarge:
        return tr("There is too much in this file to be shown.");
    case FailedAnswer::Why::Locked:
        return tr("This document is protected by a password.");
    case FailedAnswer::Why::Unreadable:
        break;
    }
    return tr("This file is damaged, or not what its name says.");
}

/// What is text after all is shown as that.
void Document::decodingFailed(const QString &sentence)
{
    letDecoderGo();
    m_drawings.clear();
    m_pages.clear();
    if (m_facts.kind == ContentKind::PropertyList && textFormOf(m_facts.head) != TextForm::NoText &&
        !m_facts.head.starts_with("bplist")) {
        showText(m_facts.file, m_facts.sizeBytes, m_facts.head);
        return;
    }
    show(View::Notice, sentence);
}

std::uint32_t Document::draw(PictureItem *item, int page, QSize pixels)
{
    if (m_decoder == nullptr || page < 0 || page >= pageCount()) {
        return 0;
    }
    const DrawRequest request{.ticket = ++m_lastTicket,
                              .page = static_cast<std::uint32_t>(page),
                              .width = static_cast<std::uint32_t>(pixels.width()),
                              .height = static_cast<std::uint32_t>(pixels.height())};
    if (!isDrawable(request.width, request.height)) {
        return 0;
    }
    m_drawings.insert(request.ticket, item);
    m_decoder->ask(request);
    return request.ticket;
}

void Document::forgetDrawing(std::uint32_t ticket)
{
    m_drawings.remove(ticket);
    if (m_decoder != nullptr) {
        m_decoder->forget(ticket);
    }
}

// ---- sound and film

void Document::play()
{
    if (m_decoder != nullptr) {
        m_decoder->ask(PlayRequest{.what = PlayRequest::What::Play});
    }
}

void Document::pause()
{
    if (m_decoder != nullptr) {
        m_decoder->ask(PlayRequest{.what = PlayRequest::What::Pause});
    }
}

void Document::seek(int positionMs)
{
    if (m_decoder != nullptr) {
        m_decoder->ask(PlayRequest{.what = PlayRequest::What::Seek,
                                   .positionMs = static_cast<std::uint32_t>(std::max(0, positionMs))});
    }
}

void Document::setScreen(PictureItem *item, QSize pixels)
{
    m_screen = item;
    m_screenPixels = pixels;
    askForFrame();
}

void Document::askForFrame()
{
    const auto width = static_cast<std::uint32_t>(std::max(0, m_screenPixels.width()));
    const auto height = static_cast<std::uint32_t>(std::max(0, m_screenPixels.height()));
    if (m_decoder == nullptr || m_frameAsked || m_screen == nullptr || !m_playback.hasVideo ||
        !isDrawable(width, height)) {
        return;
    }
    m_frameAsked = true;
    m_decoder->ask(PlayRequest{.what = PlayRequest::What::NextFrame, .width = width, .height = height});
}

std::optional<::pid_t> Document::decoderProcess() const
{
    return m_decoder != nullptr ? m_decoder->process() : std::nullopt;
}

} // namespace slicewise
