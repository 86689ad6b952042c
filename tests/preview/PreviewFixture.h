// What the tests of previews stand on: a device on the disk with files that they write, and documents of it.
#pragma once

#include "platform/HostDevice.h"
#include "preview/Documents.h"
#include "tests/support/TemporaryDirectory.h"

#include <QBuffer>
#include <QColor>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QImage>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

/// Lets the event loop work until it holds; false where it does not within a time in which everything should
/// have happened.
template <typename Condition> bool eventually(Condition holds)
{
    constexpr int kMostMs = 10'000;
    constexpr int kLookAgainMs = 20;
    const QDeadlineTimer deadline(kMostMs);
    while (!holds()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, kLookAgainMs);
    }
    return true;
}

struct Preview {
    explicit Preview(std::string decoder = SLICEWISE_PREVIEW)
        : device(HostDevice::open(directory.path()).value()),
          log([this](std::string_view line) { lines.emplace_back(line); }),
          documents(services(std::move(decoder)))
    {}

    Documents::Services services(std::string decoder)
    {
        return {.device = device.get(),
                .log = &log,
                .decoder = std::move(decoder),
                .desktop = {.opener = [this] { return opener; },
                            .open =
                                [this](const std::string &program, const std::string &path) {
                                    opened.emplace_back(program, path);
                                    return true;
                                },
                            .showInFileManager =
                                [this](const std::string &path) {
                                    shown.push_back(path);
                                    return hasFileManager;
                                }},
                .mostPatience = std::chrono::milliseconds(20'000)};
    }

    /// Opened, and known as far as it is going to be.
    Document *show(const std::string &path)
    {
        Document *document = documents.open(QByteArray::fromStdString(path), QStringLiteral("a name"));
        EXPECT_TRUE(eventually([&] { return document->view() != Document::View::Opening; })) << path;
        return document;
    }
    Document *showBytesOf(const std::string &name, const std::string &content)
    {
        directory.writeFile(name, content);
        return show("/" + name);
    }

    TemporaryDirectory directory;
    std::unique_ptr<HostDevice> device;
    std::vector<std::string> lines; ///< of the log
    Log log;
    std::optional<std::string> opener = "/usr/bin/opener";
    bool hasFileManager = true;
    std::vector<std::pair<std::string, std::string>> opened;
    std::vector<std::string> shown;
    Documents documents;
};

/// What a row reads as, once it is there.
inline std::string rowOf(Document &document, int row, int role = PieceModel::TextRole)
{
    PieceModel &model = *document.pieces();
    const QModelIndex index = model.index(row);
    static_cast<void>(model.data(index, role));
    EXPECT_TRUE(eventually([&] { return !model.data(index, role).toString().isEmpty(); })) << row;
    return model.data(index, role).toString().toStdString();
}

/// Left half red, right half blue.
inline QImage twoColours(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width / 2; ++x) {
            image.setPixelColor(x, y, Qt::red);
        }
    }
    return image;
}

inline std::string encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

} // namespace slicewise
