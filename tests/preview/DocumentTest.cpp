// Real files of each kind, whole and damaged, and what is shown of them.
#include "preview/PictureItem.h"
#include "tests/preview/MediaSamples.h"
#include "tests/preview/PreviewFixture.h"
#include "tests/support/FailingDevice.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTranslator>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <plist/plist.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace slicewise {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using View = Document::View;

std::string text(const QString &text)
{
    return text.toStdString();
}

/// A window with a page of the document in it, as large as the item.
struct Page {
    Page(Document &document, QSize size, int number = 0)
    {
        window.resize(size);
        item.setParentItem(window.contentItem());
        item.setPage(number);
        item.setSize(size);
        item.setDocument(&document);
        window.show();
    }
    [[nodiscard]] QImage drawn()
    {
        EXPECT_TRUE(eventually([this] { return item.isReady() || item.hasFailed(); }));
        return item.picture();
    }
    QQuickWindow window;
    PictureItem item;
};

QColor colourAt(const QImage &image, double x, double y)
{
    return image.pixelColor(static_cast<int>(image.width() * x), static_cast<int>(image.height() * y));
}

bool isNear(const QColor &colour, const QColor &wanted)
{
    constexpr int kMost = 40; // a format with losses
    return std::abs(colour.red() - wanted.red()) < kMost &&
           std::abs(colour.green() - wanted.green()) < kMost &&
           std::abs(colour.blue() - wanted.blue()) < kMost;
}

std::string pdfOf(int pages)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        for (int page = 0; page < pages; ++page) {
            if (page > 0) {
                writer.newPage();
            }
            painter.fillRect(QRect(0, 0, writer.width(), writer.height()),
                             page % 2 == 0 ? Qt::green : Qt::red);
        }
    }
    return bytes.toStdString();
}

std::string binaryList()
{
    const plist_t root = plist_new_dict();
    plist_dict_set_item(root, "Name", plist_new_string("na\xc3\xafve"));
    plist_dict_set_item(root, "Count", plist_new_uint(42));
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string result(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return result;
}

TEST(DocumentFacts, areTheFilesOwn)
{
    Preview preview;
    Document *document = preview.showBytesOf("notes.txt", std::string(1536, 'x'));
    EXPECT_EQ(text(document->name()), "a name");
    EXPECT_EQ(text(document->pathText()), "/notes.txt");
    EXPECT_EQ(text(document->kindText()), "Text (TXT)");
    EXPECT_EQ(text(document->sizeText()), "1.5 kB");
    EXPECT_THAT(text(document->exactSizeText()), AllOf(StartsWith("1"), EndsWith("536 bytes")));
    EXPECT_NE(text(document->modifiedText()), "");
    EXPECT_EQ(text(document->detailText()), "UTF-8");
    EXPECT_EQ(text(document->message()), "");
}

TEST(DocumentFacts, ofAPathThatIsNoTextAreWrittenSoThatTheyCanBeRead)
{
    Preview preview;
    const std::string name = "a\xff\n\xe2\x80\xae"
                             "b.txt";
    Document *document = preview.showBytesOf(name, "x");
    EXPECT_EQ(document->view(), View::Text);
    EXPECT_EQ(text(document->pathText()), "/a\xef\xbf\xbd\\x0A\\xE2\\x80\\xAE"
                                          "b.txt");
}

TEST(Texts, areShownInWhateverEncodingTheyAre)
{
    Preview preview;
    struct Case {
        const char *name;
        std::string bytes;
        std::string reads;
    };
    const std::string japanese = "日本語のテキストです。これは長い文章で、文字コードを調べるためにあります。";
    const std::string shiftJis =
        "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67\x82\xc5\x82\xb7\x81\x42\x82\xb1\x82"
        "\xea\x82\xcd\x92\xb7\x82\xa2\x95\xb6\x8f\xcd\x82\xc5\x81\x41\x95\xb6\x8e\x9a\x83\x52\x81\x5b\x83\x68"
        "\x82\xf0\x92\xb2\x82\xd7\x82\xe9\x82\xbd\x82\xdf\x82\xc9\x82\xa0\x82\xe8\x82\xdc\x82\xb7\x81\x42";
    const std::vector<Case> cases = {
        {"utf8", "na\xc3\xafve\nlines\n", "naïve\nlines"},
        {"mark", "\xef\xbb\xbfna\xc3\xafve", "naïve"},
        {"utf16", std::string("\xff\xfeh\0\xef\0\n\0!\0", 10), "hï\n!"},
        {"utf16be", std::string("\xfe\xff\0h\0\xef", 6), "hï"},
        {"utf16 without mark", std::string("h\0e\0l\0l\0o\0", 10), "hello"},
        {"utf32", std::string("\xff\xfe\0\0h\0\0\0\x00\xf6\x01\0", 12), "h😀"},
        {"latin",
         "Das W\xf6rterbuch der Br\xfc"
         "der Grimm ist gro\xdf und sch\xf6n f\xfcr alle.",
         "Das Wörterbuch der Brüder Grimm ist groß und schön für alle."},
        {"shift", shiftJis, japanese},
        {"dos", "one\r\ntwo\r\n", "one\ntwo"},
        {"old", "one\rtwo\r", "one\ntwo"},
        {"log", "\x1b[31mred\x1b[0m \x07", "\xe2\x90\x9b[31mred\xe2\x90\x9b[0m \xe2\x90\x87"},
        {"html", "<b>not bold</b>", "<b>not bold</b>"},
    };
    for (const Case &one : cases) {
        Document *document = preview.showBytesOf(one.name, one.bytes);
        EXPECT_EQ(document->view(), View::Text) << one.name;
        EXPECT_EQ(rowOf(*document, 0), one.reads) << one.name << " as " << text(document->detailText());
    }
}

TEST(Texts, ofHundredsOfMegabytesOpenAtOnceAndStayOutOfMemory)
{
    Preview preview;
    preview.directory.makeFile("big.log", std::uint64_t{300} << 20U);
    Document *document = preview.show("/big.log");
    EXPECT_EQ(document->view(), View::Bytes) << "null bytes are no text";
    preview.directory.writeFile("line.txt", std::string(std::size_t{100} << 20U, 'x'));
    document = preview.show("/line.txt");
    EXPECT_EQ(document->view(), View::Text);
    EXPECT_EQ(document->pieces()->rowCount(), (100 << 20) / 4096);
    EXPECT_EQ(rowOf(*document, 20'000), std::string(4096, 'x'));
    for (int row = 0; row < 3 * PieceModel::kMostKept; ++row) {
        static_cast<void>(rowOf(*document, row));
    }
    EXPECT_LE(document->pieces()->keptRows(), PieceModel::kMostKept);
}

TEST(Texts, ofAFileThatIsCutWhileItIsShownEndThere)
{
    Preview preview;
    Document *document = preview.showBytesOf("x.log", std::string(20'000, 'x'));
    preview.directory.writeFile("x.log", "now short");
    EXPECT_EQ(rowOf(*document, 0), "now short");
    PieceModel &model = *document->pieces();
    QSignalSpy changed(&model, &PieceModel::dataChanged);
    EXPECT_EQ(model.data(model.index(4), PieceModel::TextRole).toString(), QString());
    EXPECT_TRUE(eventually([&] { return changed.count() > 0; })) << "it has been looked for";
    EXPECT_EQ(model.data(model.index(4), PieceModel::TextRole).toString(), QString());
}

TEST(Bytes, areShownWithWhereTheyAreAndWhatTheyRead)
{
    Preview preview;
    std::string content = std::string("\0\1\2Hello, world\xff", 16);
    content += "tail";
    Document *document = preview.showBytesOf("data", content);
    EXPECT_EQ(document->view(), View::Bytes);
    EXPECT_EQ(text(document->message()), "");
    EXPECT_EQ(rowOf(*document, 0), "00 01 02 48 65 6c 6c 6f  2c 20 77 6f 72 6c 64 ff\n74 61 69 6c");
    EXPECT_EQ(rowOf(*document, 0, PieceModel::OffsetsRole), "00000000\n00000010");
    EXPECT_EQ(rowOf(*document, 0, PieceModel::CharactersRole), "···Hello, world·\ntail");
    document->setBytesOfLine(8);
    EXPECT_EQ(rowOf(*document, 0, PieceModel::OffsetsRole), "00000000\n00000008\n00000010");
}

TEST(Bytes, ofATerabyteAreReachedAtItsEnd)
{
    Preview preview;
    preview.directory.makeFile("huge", std::uint64_t{1} << 38U);
    Document *document = preview.show("/huge");
    const int rows = document->pieces()->rowCount();
    EXPECT_EQ(rows, 1 << 30);
    EXPECT_THAT(rowOf(*document, rows - 1, PieceModel::OffsetsRole), StartsWith("3fffffff00\n"));
}

TEST(Pictures, areDrawnAsLargeAsTheyAreAskedFor)
{
    Preview preview;
    for (const char *format : {"PNG", "JPG", "BMP", "WEBP", "TIFF"}) {
        Document *document = preview.showBytesOf("picture", encoded(twoColours(400, 200), format));
        ASSERT_EQ(document->view(), View::Picture) << format << text(document->message());
        EXPECT_EQ(document->pageSize(0), QSize(400, 200));
        EXPECT_THAT(text(document->detailText()), HasSubstr("400"));
        Page page(*document, {100, 100});
        const QImage drawn = page.drawn();
        EXPECT_EQ(drawn.size(), QSize(100, 50)) << format;
        EXPECT_TRUE(isNear(colourAt(drawn, 0.2, 0.5), Qt::red)) << format;
        EXPECT_TRUE(isNear(colourAt(drawn, 0.8, 0.5), Qt::blue)) << format;
        preview.documents.close(document);
    }
}

TEST(Pictures, ofAKindThatNothingInstalledKnowsSaySo)
{
    Preview preview;
    Document *document = preview.showBytesOf("photo.heic", std::string("\0\0\0\x18"
                                                                       "ftypheic\0\0\0\0mif1heic",
                                                                       24) +
                                                               std::string(200, '\0'));
    EXPECT_EQ(document->view(), View::Notice);
    EXPECT_EQ(text(document->message()), "There is nothing installed that shows files of this kind.");
    EXPECT_TRUE(document->hasBytes());
}

TEST(Pictures, areDrawnAnewWhereTheyGetLarger)
{
    Preview preview;
    Document *document = preview.showBytesOf("picture.png", encoded(twoColours(400, 200), "PNG"));
    Page page(*document, {100, 50});
    EXPECT_EQ(page.drawn().size(), QSize(100, 50));
    page.item.setSize({300, 150});
    EXPECT_TRUE(eventually([&] { return page.item.picture().size() == QSize(300, 150); }));
    page.item.setSize({4000, 2000});
    EXPECT_TRUE(eventually([&] { return page.item.picture().size() == QSize(400, 200); }))
        << "no more than there is";
}

TEST(Pictures, standAsTheCameraWasHeld)
{
    // "Rotate by 90 degrees" in the form that cameras write, behind the beginning of the picture.
    const std::string jpeg = encoded(twoColours(400, 200), "JPG");
    const std::string exif("\xff\xe1\x00\x22"
                           "Exif\0\0"
                           "MM\0*\0\0\0\x08"
                           "\0\1"
                           "\x01\x12\0\3\0\0\0\1\0\6\0\0"
                           "\0\0\0\0",
                           36);
    Preview preview;
    Document *document = preview.showBytesOf("x.jpg", jpeg.substr(0, 2) + exif + jpeg.substr(2));
    ASSERT_EQ(document->view(), View::Picture) << text(document->message());
    EXPECT_EQ(document->pageSize(0), QSize(200, 400));
    Page page(*document, {100, 100});
    const QImage drawn = page.drawn();
    EXPECT_EQ(drawn.size(), QSize(50, 100));
    EXPECT_TRUE(isNear(colourAt(drawn, 0.5, 0.2), Qt::red));
    EXPECT_TRUE(isNear(colourAt(drawn, 0.5, 0.8), Qt::blue));
}

TEST(Pictures, thatAreLargerThanAllMemoryCostNobodyAnything)
{
    // The head of a picture of 60000 by 60000, and of its pixels hardly any.
    std::string bomb = encoded(twoColours(8, 8), "PNG");
    const std::string side("\0\0\xea\x60", 4);
    bomb.replace(16, 8, side + side);
    // Its checksum, so that it is taken for a picture at all.
    std::uint32_t crc = 0xffff'ffff;
    for (std::size_t i = 12; i < 29; ++i) {
        crc ^= static_cast<unsigned char>(bomb[i]);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xedb8'8320U : 0U);
        }
    }
    crc = ~crc;
    for (std::size_t i = 0; i < 4; ++i) {
        bomb[29 + i] = static_cast<char>(crc >> (24 - 8 * i));
    }
    Preview preview;
    Document *document = preview.showBytesOf("bomb.png", bomb);
    EXPECT_EQ(document->pageSize(0), QSize(60'000, 60'000)) << text(document->message());
    Page page(*document, {500, 500});
    EXPECT_TRUE(eventually([&] { return document->view() == View::Notice || page.item.isReady(); }));
    EXPECT_EQ(document->view(), View::Notice);
    EXPECT_NE(text(document->message()), "");
    document->showBytes();
    EXPECT_THAT(rowOf(*document, 0), StartsWith("89 50 4e 47"));
}

TEST(Facts, areSaidInTheUsersLanguage)
{
    class Shouting : public QTranslator {
    public:
        [[nodiscard]] QString translate(const char *context, const char *sourceText, const char * /*what*/,
                                        int /*number*/) const override
        {
            return qstrcmp(context, "DocumentFacts") == 0 ? QString::fromUtf8(sourceText).toUpper()
                                                          : QString();
        }
        [[nodiscard]] bool isEmpty() const override { return false; }
    };
    Shouting translator;
    QCoreApplication::installTranslator(&translator);
    EXPECT_EQ(text(kindText(ContentKind::Image, "/photo.jpg")), "PICTURE (JPG)");
    EXPECT_EQ(text(kindText(ContentKind::Other, "/photo")), "FILE");
    EXPECT_EQ(text(exactSizeText(1)), "1 BYTE");
    EXPECT_EQ(text(openErrorText(EACCES)), "YOU ARE NOT ALLOWED TO READ THIS FILE.");
    QCoreApplication::removeTranslator(&translator);
}

TEST(PropertyLists, areShownAsTheTextThatTheyStandFor)
{
    Preview preview;
    Document *document = preview.showBytesOf("Info.plist", binaryList());
    ASSERT_EQ(document->view(), View::Text) << text(document->message());
    EXPECT_EQ(text(document->kindText()), "Property list");
    const std::string xml = rowOf(*document, 0);
    EXPECT_THAT(xml, AllOf(StartsWith("<?xml"), HasSubstr("<key>Name</key>\n\t<string>naïve</string>"),
                           HasSubstr("<integer>42</integer>")));
}

TEST(PropertyLists, thatCantBeReadAreTextWhereTheyAreTextAndBytesElse)
{
    Preview preview;
    Document *document = preview.showBytesOf("x.plist", "<?xml version=\"1.0\"?>\n<plist><dict><key>a");
    EXPECT_EQ(document->view(), View::Text);
    EXPECT_THAT(rowOf(*document, 0), HasSubstr("<dict><key>a"));
    document = preview.showBytesOf("y.plist", "bplist00" + std::string(30, '\xff'));
    EXPECT_EQ(document->view(), View::Notice);
    EXPECT_TRUE(document->hasBytes());
}

#if defined(SLICEWISE_HAS_PDF)
TEST(PdfDocuments, areDrawnPageByPage)
{
    Preview preview;
    Document *document = preview.showBytesOf("x.pdf", pdfOf(3));
    ASSERT_EQ(document->view(), View::Pages) << text(document->message());
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(text(document->detailText()), "3 pages");
    EXPECT_EQ(document->pageSize(0), QSize(595, 842));
    Page first(*document, {300, 424});
    Page second(*document, {300, 424}, 1);
    EXPECT_TRUE(isNear(colourAt(first.drawn(), 0.5, 0.5), Qt::green));
    EXPECT_TRUE(isNear(colourAt(second.drawn(), 0.5, 0.5), Qt::red));
}
#endif

#if defined(SLICEWISE_HAS_MULTIMEDIA)
TEST(Sounds, tellHowLongTheyAreAndPlayAndPause)
{
    Preview preview;
    Document *document = preview.showBytesOf("x.wav", silence());
    ASSERT_EQ(document->view(), View::Media) << text(document->message());
    EXPECT_EQ(document->durationMs(), 2000);
    EXPECT_FALSE(document->hasVideo());
    EXPECT_FALSE(document->isPlaying());
    document->play();
    EXPECT_TRUE(eventually([&] { return document->isPlaying(); }));
    document->pause();
    EXPECT_TRUE(eventually([&] { return !document->isPlaying(); }));
}

TEST(Sounds, thatAreNoneHaveASentence)
{
    Preview preview;
    Document *document = preview.showBytesOf("x.flac", "fLaC" + std::string(100, '\x7e'));
    EXPECT_EQ(document->view(), View::Notice);
    EXPECT_TRUE(document->hasBytes());
}
#endif

TEST(Files, thatAreDamagedCostOnlyTheirOwnPreview)
{
    std::vector<std::pair<std::string, std::string>> whole = {
        {"x.png", encoded(twoColours(64, 64), "PNG")},
        {"x.jpg", encoded(twoColours(64, 64), "JPG")},
        {"x.bmp", encoded(twoColours(64, 64), "BMP")},
        {"x.plist", binaryList()},
    };
#if defined(SLICEWISE_HAS_PDF)
    whole.emplace_back("x.pdf", pdfOf(2));
#endif
    Preview preview;
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same each time
    for (const auto &[name, bytes] : whole) {
        const std::string truncated = bytes.substr(0, bytes.size() / 2);
        std::string scrambled = bytes;
        for (std::size_t i = 32; i < scrambled.size(); i += 5) {
            scrambled[i] = static_cast<char>(random());
        }
        std::string noise = bytes.substr(0, 8);
        for (int i = 0; i < 3000; ++i) {
            noise += static_cast<char>(random());
        }
        for (const std::string &damaged : {truncated, scrambled, noise}) {
            Document *document = preview.showBytesOf(name, damaged);
            if (document->view() == View::Picture || document->view() == View::Pages) {
                Page page(*document, {50, 50});
                EXPECT_TRUE(eventually([&] {
                    return page.item.isReady() || page.item.hasFailed() || document->view() == View::Notice;
                }));
            }
            if (document->view() == View::Notice) {
                EXPECT_NE(text(document->message()), "");
                document->showBytes();
                EXPECT_NE(rowOf(*document, 0), "");
            }
            preview.documents.close(document);
        }
    }
}

TEST(Files, thatCantBeOpenedHaveASentence)
{
    Preview preview;
    preview.directory.makeDirectory("folder");
    preview.directory.makeFifo("fifo");
    preview.directory.writeFile("empty", "");
    for (const auto &[path, sentence] :
         std::vector<std::pair<std::string, std::string>>{{"/gone", "The file is no longer there."},
                                                          {"/folder", "This is a folder."},
                                                          {"/fifo", "This is not a regular file."},
                                                          {"/empty", "The file is empty."}}) {
        const Document *document = preview.show(path);
        EXPECT_EQ(document->view(), View::Notice) << path;
        EXPECT_EQ(text(document->message()), sentence);
        EXPECT_FALSE(document->hasBytes());
    }
}

TEST(Files, thatMayNotBeReadOrCantBeHaveASentence)
{
    Preview preview;
    preview.directory.writeFile("a", "x");
    preview.directory.writeFile("b", "x");
    FailingDevice device(*preview.device);
    device.failOpenFile("/a", EACCES);
    device.failReadAt("/b", 0, EIO);
    for (const auto &[path, sentence] : std::vector<std::pair<std::string, std::string>>{
             {"/a", "You are not allowed to read this file."}, {"/b", "The file can't be read."}}) {
        Document document({.device = &device, .path = path, .name = "n", .decoder = {}});
        ASSERT_TRUE(eventually([&] { return document.view() != View::Opening; }));
        EXPECT_EQ(document.view(), View::Notice);
        EXPECT_EQ(text(document.message()), sentence);
    }
}

} // namespace

} // namespace slicewise
