// slicewise-preview: decodes one file for a preview, and ends.
//
// It is started by slicewise and by nobody else: with the file as its standard input, open for reading, and a
// connection as its standard output, over which it is asked (preview/DecoderMessages.h). Its only argument
// says what the file is. What it decodes may take it over; so it has given up all rights that it does not
// need before it looks at the first byte, and whoever started it believes nothing of what it says.
#include "platform/HostFile.h"
#include "platform/PropertyList.h"
#include "platform/Seclusion.h"
#include "platform/SystemCalls.h"
#include "preview/DecoderFile.h"

#include <QGuiApplication>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace slicewise {

int decodePropertyList(DecoderFile &file, DecoderConnection &connection)
{
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    FailedAnswer failed{.why = FailedAnswer::Why::TooLarge, .ticket = 0};
    if (bytes.size() <= PropertyList::kMostBytes) {
        const qint64 length = file.read(bytes.data(), file.size());
        bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        const auto list = PropertyList::parse(bytes);
        auto text = list ? list->xml() : std::nullopt;
        if (text && text->size() <= AnswerLimits::kMostTextBytes) {
            connection.answer(TextAnswer{.text = std::move(*text)});
            return 0;
        }
        failed.why = list ? FailedAnswer::Why::TooLarge : FailedAnswer::Why::Unreadable;
    }
    connection.answer(failed);
    return 0;
}

namespace {

int notInstalled(DecoderConnection &connection)
{
    connection.answer(FailedAnswer{.why = FailedAnswer::Why::NotInstalled, .ticket = 0});
    return 0;
}

int decode(DecoderTask task, DecoderFile &file, DecoderConnection &connection)
{
    switch (task) {
    case DecoderTask::Image:
        return decodeImage(file, connection);
    case DecoderTask::PropertyList:
        return decodePropertyList(file, connection);
    case DecoderTask::Pdf:
#if defined(SLICEWISE_HAS_PDF)
        return decodePdf(file, connection);
#else
        return notInstalled(connection);
#endif
    case DecoderTask::Media:
#if defined(SLICEWISE_HAS_MULTIMEDIA)
        return decodeMedia(file, connection);
#else
        return notInstalled(connection);
#endif
    }
    return notInstalled(connection);
}

/// What libraries print must not get into the connection.
UniqueFd takeConnection()
{
    UniqueFd connection(::dup(STDOUT_FILENO));
    if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        connection.reset();
    }
    return connection;
}

int mainOf(int argc, char **argv)
{
    const auto task = argc == 2 ? decoderTaskNamed(argv[1]) : std::nullopt;
    if (!task) {
        std::fputs("slicewise-preview is a part of slicewise, which starts it.\n", stderr);
        return EXIT_FAILURE;
    }
    // A file that must not grow (RLIMIT_FSIZE) is an error like others, not the end.
    std::signal(SIGXFSZ, SIG_IGN);
    DecoderConnection connection(takeConnection());
    UniqueFd input(::dup(STDIN_FILENO));
    // Not a reason to show nothing: what is shut out here could not do much anyway, without rights.
    static_cast<void>(seclude());

    // No argument of Qt's is for us, and no file of it.
    int count = 1;
    QGuiApplication::setDesktopSettingsAware(false);
    const QGuiApplication application(count, argv);
    static const SystemCalls calls;
    DecoderFile file(std::make_unique<HostFile>(std::move(input), calls));
    return decode(*task, file, connection);
}

} // namespace

} // namespace slicewise

int main(int argc, char **argv)
{
    return slicewise::mainOf(argc, argv);
}
