#include "preview/DocumentFacts.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

namespace slicewise {

namespace {

/// For the tools that collect texts: they read calls of tr, of a class, with the text in them.
class Texts {
    Q_DECLARE_TR_FUNCTIONS(DocumentFacts)
};

/// The extension in capitals, as people call many formats; empty where there is none to speak of.
QString extensionText(const std::string &path)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    constexpr std::size_t kMostLetters = 5;
    if (dot == std::string::npos || dot == 0 || name.size() - dot - 1 > kMostLetters) {
        return {};
    }
    const QString extension = QString::fromStdString(name.substr(dot + 1)).toUpper();
    const bool isPlain = std::all_of(extension.begin(), extension.end(), [](QChar character) {
        return character.unicode() < 0x80 && character.isLetterOrNumber();
    });
    return isPlain ? extension : QString();
}

} // namespace

DocumentFacts readDocumentFacts(const Device &device, const std::string &path)
{
    DocumentFacts facts;
    Result<std::unique_ptr<ReadableFile>> opened = device.openFile(path);
    if (!opened) {
        facts.error = opened.error();
        return facts;
    }
    facts.file = std::move(opened).value();
    const Result<std::uint64_t> size = facts.file->sizeBytes();
    const Result<FileTimes> times = facts.file->times();
    facts.sizeBytes = size ? *size : 0;
    facts.times = times ? *times : FileTimes();
    facts.head.resize(std::min<std::uint64_t>(facts.sizeBytes, kHeadBytes));
    const Result<std::size_t> length = facts.file->readAt(0, std::as_writable_bytes(std::span(facts.head)));
    if (!size || !length) {
        facts.error = size ? length.error() : size.error();
        return facts;
    }
    facts.head.resize(*length);
    facts.kind = contentKindOf(facts.head, path);
    return facts;
}

QString kindText(ContentKind kind, const std::string &path)
{
    QString word;
    switch (kind) {
    case ContentKind::Pdf:
        return Texts::tr("PDF document");
    case ContentKind::PropertyList:
        return Texts::tr("Property list");
    case ContentKind::Empty:
        word = Texts::tr("Empty file");
        break;
    case ContentKind::Image:
        word = Texts::tr("Picture");
        break;
    case ContentKind::Audio:
        word = Texts::tr("Sound");
        break;
    case ContentKind::Video:
        word = Texts::tr("Film");
        break;
    case ContentKind::Text:
        word = Texts::tr("Text");
        break;
    case ContentKind::Other:
        word = Texts::tr("File");
        break;
    }
    const QString extension = extensionText(path);
    return extension.isEmpty() ? word : Texts::tr("%1 (%2)").arg(word, extension);
}

QString exactSizeText(std::uint64_t bytes)
{
    return bytes == 1 ? Texts::tr("1 byte")
                      : Texts::tr("%1 bytes").arg(QLocale().toString(static_cast<qulonglong>(bytes)));
}

QString timeText(std::optional<std::int64_t> seconds)
{
    return seconds ? QLocale().toString(QDateTime::fromSecsSinceEpoch(*seconds), QLocale::ShortFormat)
                   : QString();
}

QString openErrorText(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return Texts::tr("The file is no longer there.");
    case EACCES:
    case EPERM:
        return Texts::tr("You are not allowed to read this file.");
    case EISDIR:
        return Texts::tr("This is a folder.");
    case EINVAL:
        return Texts::tr("This is not a regular file.");
    default:
        return Texts::tr("The file can't be read.");
    }
}

} // namespace slicewise
