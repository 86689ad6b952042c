// A device with all of its catalogues: what a scan reads from them before it starts, and what whole scans
// make of it.
#include "scan/ScanTables.h"

#include "platform/HostDevice.h"
#include "tests/scan/PackageTools.h"
#include "tests/scan/PropertyListText.h"
#include "tests/scan/Scanned.h"
#include "tests/support/ChainOfScan.h"
#include "tests/support/DiskState.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TreeText.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <map>
#include <memory>
#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

constexpr const char *kMediaLibraryTables =
    "CREATE TABLE item (item_pid INTEGER PRIMARY KEY, base_location_id INTEGER);"
    "CREATE TABLE item_extra (item_pid INTEGER PRIMARY KEY, title TEXT, location TEXT);"
    "CREATE TABLE base_location (base_location_id INTEGER PRIMARY KEY, path TEXT);";
constexpr const char *kMessagesTables =
    "CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY, filename TEXT, transfer_name);";

using Connection = std::unique_ptr<sqlite3, decltype(&::sqlite3_close)>;

Connection connect(const std::string &hostPath)
{
    sqlite3 *raw = nullptr;
    const int result = ::sqlite3_open(hostPath.c_str(), &raw);
    Connection connection(raw, &::sqlite3_close);
    if (result != SQLITE_OK) {
        throw std::runtime_error("No database can be made at " + hostPath);
    }
    return connection;
}

void execute(const Connection &connection, const std::string &statements)
{
    if (::sqlite3_exec(connection.get(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(::sqlite3_errmsg(connection.get()));
    }
}

/// Another process that is in the middle of writing to a database.
class Writer {
public:
    explicit Writer(const std::string &hostPath)
    {
        std::array<int, 2> pipe = {-1, -1};
        if (::pipe(pipe.data()) != 0) {
            throw std::runtime_error("pipe");
        }
        m_process = ::fork();
        if (m_process == 0) {
            try {
                const Connection connection = connect(hostPath);
                execute(connection, "BEGIN EXCLUSIVE;");
                static_cast<void>(::write(pipe[1], "x", 1));
                ::pause();
            } catch (const std::exception &) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        ::close(pipe[1]);
        char begun = 0;
        const bool ready = ::read(pipe[0], &begun, 1) == 1;
        ::close(pipe[0]);
        if (!ready) {
            throw std::runtime_error("The database can't be locked");
        }
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    ~Writer()
    {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }

private:
    ::pid_t m_process = -1;
};

std::string onHost(const TemporaryDirectory &root, const std::string &devicePath)
{
    return root.pathOf(devicePath.substr(1));
}

/// Sizes by category path, of the leaves.
void collectLeaves(SZANode &node, const std::string &path, std::map<std::string, std::uint64_t> &leaves)
{
    for (SZANode *child : node.getNodes()) {
        const std::string childPath = fmt::format("{}{}{}", path, path.empty() ? "" : "/", child->name());
        if (child->getNodes().empty()) {
            leaves[childPath] = child->size();
        }
        collectLeaves(*child, childPath, leaves);
    }
}

class Tables : public ::testing::Test {
protected:
    Tables() { m_root.makeDirectory("private/var/mobile"); }

    void makeFile(const std::string &devicePath, std::uint64_t sizeBytes) const
    {
        m_root.makeFile(devicePath.substr(1), sizeBytes);
    }
    void makeDatabase(const char *devicePath, const std::string &statements) const
    {
        makeFile(devicePath, 0);
        execute(connect(onHost(m_root, devicePath)), statements);
    }
    void makeMediaLibrary() const
    {
        makeDatabase(
            kMediaLibraryPath,
            std::string(kMediaLibraryTables) +
                "INSERT INTO base_location VALUES (1, 'iTunes_Control/Music/F12'), (2, 'Podcasts');"
                "INSERT INTO item VALUES (10, 1), (11, 1), (12, 2), (13, 1), (14, 99);"
                "INSERT INTO item_extra VALUES (10, 'Some Song', 'ABCD.m4a'), (11, 'Other Song', 'EFGH.m4a'),"
                "(12, 'Talk', 'x.mp3'), (13, NULL, 'IJKL.m4a'), (14, 'Lost', 'y.mp3');");
    }
    void makeMessages() const
    {
        makeDatabase(kMessagesPath,
                     std::string(kMessagesTables) +
                         "INSERT INTO attachment (filename, transfer_name) VALUES"
                         "('~/Library/SMS/Attachments/00/a/one.jpg', 'IMG_0001.JPG'),"
                         "('/var/mobile/Library/SMS/Attachments/01/b/two.jpg', 'IMG_0001.JPG'),"
                         "('~/Library/SMS/Attachments/02/c/three.jpg', 20260101),"
                         "('~/Library/SMS/Attachments/03/d/four.jpg', NULL), (NULL, 'nothing');");
    }
    void makeRingtones() const
    {
        m_root.writeFile(std::string(kRingtonesPath).substr(1),
                         xmlDictionary("Ringtones", "<dict><key>ABCD.m4r</key><dict><key>Name</key>"
                                                    "<string>Marimba</string></dict></dict>"));
    }
    void makeMediaFiles() const
    {
        makeFile("/private/var/mobile/Media/iTunes_Control/Music/F12/ABCD.m4a", 1000);
        makeFile("/private/var/mobile/Media/iTunes_Control/Music/F12/unlisted.m4a", 2000);
        makeFile("/private/var/mobile/Media/iTunes_Control/Ringtones/ABCD.m4r", 3000);
        makeFile("/private/var/mobile/Library/SMS/Attachments/00/a/one.jpg", 4000);
        makeFile("/private/var/mobile/Library/SMS/Attachments/01/b/two.jpg", 5000);
        makeFile("/private/var/mobile/Library/SMS/Attachments/01/b/two-preview", 6000);
        makeFile("/private/var/mobile/Library/SMS/Attachments/09/unlisted.jpg", 7000);
    }
    [[nodiscard]] std::unique_ptr<HostDevice> device() const
    {
        return HostDevice::open(m_root.path()).value();
    }
    [[nodiscard]] std::unique_ptr<ScanTables> load(const Device &device)
    {
        m_lines.clear();
        return std::make_unique<ScanTables>(device, m_log, nullptr, noPackageTool());
    }
    static std::map<std::string, std::uint64_t> leavesOf(const Scanned &scanned)
    {
        std::map<std::string, std::uint64_t> leaves;
        collectLeaves(*scanned.root, "", leaves);
        return leaves;
    }
    /// With every number of readers, and against the naive engine; nothing on the disk may change.
    std::map<std::string, std::uint64_t> leavesOfScan(std::vector<std::string> *lines = nullptr) const
    {
        const auto before = diskState(m_root.path());
        const auto host = device();
        const Scanned scanned = scan(*host);
        const ChainOfScan chain(*host);
        Log quiet([](std::string_view) {});
        const NaiveScan naive = naiveScan(m_root.path(), "/", chain.chain(), quiet);
        EXPECT_EQ(differenceBetween(naive.root, *scanned.root), std::nullopt);
        for (const unsigned readers : kReaderCounts) {
            EXPECT_EQ(scan(*host, {.readers = readers}).text(), scanned.text());
        }
        EXPECT_EQ(diskState(m_root.path()), before);
        if (lines != nullptr) {
            *lines = scanned.classifierLines;
        }
        return leavesOf(scanned);
    }

    TemporaryDirectory m_root;
    std::vector<std::string> m_lines;
    Log m_log{[this](std::string_view line) { m_lines.emplace_back(line); }};
};

} // namespace

TEST_F(Tables, areFilledFromTheDevicesOwnCatalogues)
{
    makeMediaLibrary();
    makeMessages();
    makeRingtones();
    const auto before = diskState(m_root.path());
    const auto host = device();
    const auto tables = load(*host);
    EXPECT_EQ(diskState(m_root.path()), before);

    EXPECT_EQ(tables->mediaIndex.size(), 2U);
    EXPECT_EQ(tables->mediaIndex.at("iTunes_Control/Music/F12/ABCD.m4a").title, "Some Song");
    EXPECT_EQ(tables->mediaIndex.at("iTunes_Control/Music/F12/EFGH.m4a").kind, "Music");
    ASSERT_TRUE(tables->ringtoneIndex);
    EXPECT_EQ(classifyRingtone(tables->ringtoneIndex,
                               "/private/var/mobile/Media/iTunes_Control/Ringtones/ABCD.m4r"),
              "iTunes/Ringtones/Marimba");
    const std::string attachments = "/private/var/mobile/Library/SMS/Attachments/";
    EXPECT_EQ(tables->smsAttachmentIndex.size(), 8U);
    EXPECT_EQ(tables->smsAttachmentIndex.nameOf(attachments + "00/a/one.jpg"), "IMG_0001.JPG");
    EXPECT_EQ(tables->smsAttachmentIndex.nameOf(attachments + "01/b/two.jpg"), "IMG_0001.JPG 2");
    EXPECT_EQ(tables->smsAttachmentIndex.nameOf(attachments + "02/c/three.jpg"), "20260101");
    EXPECT_EQ(tables->smsAttachmentIndex.nameOf(attachments + "03/d/four.jpg"), "four.jpg");
    EXPECT_THAT(tables->appNames.appNameCache(), IsEmpty());
    EXPECT_EQ(tables->packageIndex.pathCount(), 0U);
    // A base path without a "/", and a title that is NULL.
    ASSERT_EQ(m_lines.size(), 2U);
    EXPECT_THAT(m_lines, Contains(::testing::EndsWith(
                             "path||'/'||location = 'Podcasts/x.mp3', title = 'Talk', path = 'Podcasts'")));
    EXPECT_THAT(m_lines, Contains(::testing::EndsWith(
                             "path||'/'||location = 'iTunes_Control/Music/F12/IJKL.m4a', title = '(null)', "
                             "path = 'iTunes_Control/Music/F12'")));
}

TEST_F(Tables, areLoadedInTheirOrder)
{
    m_root.makeDirectory("var/lib/dpkg");
    m_root.makeDirectory("usr/\xff");
    makeMediaLibrary();
    FakePackageTool tool;
    tool.add("first", {"/usr/\xff"});
    const auto host = device();
    const ScanTables tables(*host, m_log, nullptr, tool.tool());
    ASSERT_EQ(m_lines.size(), 3U);
    EXPECT_THAT(m_lines[0], ::testing::StartsWith("Exception while parsing dpkg. ("));
    EXPECT_THAT(m_lines[1], ::testing::StartsWith("Unreasonable DB entry ("));
}

TEST_F(Tables, areEmptyOnADeviceWithoutCatalogues)
{
    const auto host = device();
    const auto tables = load(*host);
    EXPECT_TRUE(tables->mediaIndex.empty());
    EXPECT_FALSE(tables->ringtoneIndex);
    EXPECT_TRUE(tables->smsAttachmentIndex.empty());
    EXPECT_THAT(m_lines, IsEmpty());
    const auto state = diskState(m_root.path());
    EXPECT_THAT(state, Not(Contains(Key(kMessagesPath))));
}

TEST_F(Tables, areEmptyWhereTheCataloguesAreDamaged)
{
    makeMediaLibrary();
    makeMessages();
    for (const char *path : {kMediaLibraryPath, kMessagesPath}) {
        m_root.writeFile(std::string(path).substr(1), "SQLite format 3" + std::string(4000, '\xee'));
    }
    m_root.writeFile(std::string(kRingtonesPath).substr(1), "bplist00" + std::string(200, '\xee'));
    makeMediaFiles();
    const auto host = device();
    const auto tables = load(*host);
    EXPECT_TRUE(tables->mediaIndex.empty());
    EXPECT_FALSE(tables->ringtoneIndex);
    EXPECT_TRUE(tables->smsAttachmentIndex.empty());
    EXPECT_THAT(leavesOfScan(), Contains(Pair("iTunes/Music/F12/ABCD.m4a", 1000)));
}

TEST_F(Tables, areEmptyWhereTheCataloguesHaveAnotherSchema)
{
    makeDatabase(kMediaLibraryPath, "CREATE TABLE item (other); INSERT INTO item VALUES (1);");
    makeDatabase(kMessagesPath, "CREATE TABLE attachment (name); INSERT INTO attachment VALUES ('a');");
    m_root.writeFile(std::string(kRingtonesPath).substr(1), xmlDictionary("Tones", "<array/>"));
    makeMediaFiles();
    const auto host = device();
    const auto tables = load(*host);
    EXPECT_TRUE(tables->mediaIndex.empty());
    EXPECT_TRUE(tables->ringtoneIndex);
    EXPECT_TRUE(tables->smsAttachmentIndex.empty());
    EXPECT_THAT(leavesOfScan(), AllOf(Contains(Pair("iTunes/Ringtones/ABCD.m4r", 3000)),
                                      Contains(Pair("Messages/Attachments/00/a/one.jpg", 4000))));
}

TEST_F(Tables, areEmptyWhereACatalogueIsLockedByAWriterAndTheRestIsThere)
{
    makeMediaLibrary();
    makeMessages();
    makeMediaFiles();
    const Writer writer(onHost(m_root, kMessagesPath));
    const auto host = device();
    const auto tables = load(*host);
    EXPECT_TRUE(tables->smsAttachmentIndex.empty());
    EXPECT_EQ(tables->mediaIndex.size(), 2U);
    EXPECT_THAT(leavesOfScan(), Contains(Pair("Messages/Attachments/00/a/one.jpg", 4000)));
}

TEST_F(Tables, areNotReadOnceStoppedHasBeenSaid)
{
    makeMessages();
    m_root.makeDirectory("var/lib/dpkg");
    const std::atomic<bool> stop = true;
    const auto host = device();
    const ScanTables tables(*host, m_log, &stop);
    EXPECT_EQ(tables.packageIndex.pathCount(), 0U);
}

TEST_F(Tables, sortTheFilesOfAWholeScan)
{
    makeMediaLibrary();
    makeMessages();
    makeRingtones();
    makeMediaFiles();
    m_root.writeFile("private/var/mobile/Applications/1F-2/Maps.app/Info.plist",
                     xmlDictionary("CFBundleDisplayName", "<string>Maps</string>"));
    makeFile("/private/var/mobile/Applications/1F-2/Documents/a.db", 50);
    m_root.writeFile("private/var/mobile/Containers/Bundle/Application/7A/iTunesMetadata.plist",
                     xmlDictionary("itemName", "<string>Chess</string>"));
    makeFile("/private/var/mobile/Containers/Data/Application/7A/Documents/game", 60);
    makeFile("/private/var/mobile/Containers/Shared/AppGroup/8B/x", 70);
    makeFile("/usr/lib/libc.so", 80);
    makeFile("/etc/passwd", 90);
    std::vector<std::string> lines;
    const auto leaves = leavesOfScan(&lines);
    EXPECT_THAT(leaves, AllOf(Contains(Pair("iTunes/Music/Some Song", 1000)),
                              Contains(Pair("iTunes/Music/F12/unlisted.m4a", 2000)),
                              Contains(Pair("iTunes/Ringtones/Marimba", 3000)),
                              Contains(Pair("Message Attachments/IMG_0001.JPG", 4000)),
                              Contains(Pair("Message Attachments/IMG_0001.JPG 2", 5000)),
                              Contains(Pair("Message Attachments/Previews/two-preview", 6000)),
                              Contains(Pair("Messages/Attachments/09/unlisted.jpg", 7000)),
                              Contains(Key("Messages/sms.db"))));
    EXPECT_THAT(leaves, AllOf(Contains(Key("Applications/Maps/Maps.app/Info.plist")),
                              Contains(Pair("Application Data/Maps/Documents/a.db", 50)),
                              Contains(Key("Applications/Chess/iTunesMetadata.plist")),
                              Contains(Pair("Application Data/Chess/Documents/game", 60)),
                              Contains(Pair("Others/private/var/mobile/Containers/Shared/AppGroup/8B/x", 70)),
                              Contains(Pair("Operating System/usr/lib/libc.so", 80)),
                              Contains(Pair("Others/etc/passwd", 90))));
    EXPECT_EQ(lines.size(), 2U); // the two rows that can't be used
}

TEST_F(Tables, letAPackageHaveItsFilesWhereverTheyLie)
{
    makeMediaLibrary();
    makeMediaFiles();
    m_root.makeDirectory("var/lib/dpkg");
    makeFile("/usr/bin/finger", 11);
    makeFile("/usr/bin/other", 12);
    makeFile("/private/var/mobile/Applications/1/a", 13);
    FakePackageTool tool;
    tool.add("adv-cmds", {"/.", "/usr", "/usr/bin", "/usr/bin/finger", "/private/var/mobile/Applications/1/a",
                          "/private/var/mobile/Media/iTunes_Control/Music/F12/ABCD.m4a"});
    const auto host = device();
    ScanTables tables(*host, m_log, nullptr, tool.tool());
    const ClassifierChain chain = makeClassifierChain(tables);
    EXPECT_THAT(
        leavesOf(scan(*host, {.chain = &chain})),
        AllOf(Contains(Pair("Cydia Packages/adv-cmds/usr/bin/finger", 11)),
              Contains(Pair("Operating System/usr/bin/other", 12)),
              Contains(Pair("Cydia Packages/adv-cmds/private/var/mobile/Applications/1/a", 13)),
              Contains(
                  Pair("Cydia Packages/adv-cmds/private/var/mobile/Media/iTunes_Control/Music/F12/ABCD.m4a",
                       1000))));
}

TEST_F(Tables, logAClassifierThatRaisesWithItsNumber)
{
    makeMediaFiles();
    m_root.writeFile(std::string(kRingtonesPath).substr(1),
                     xmlDictionary("Ringtones", "<dict><key>ABCD.m4r</key><string>x</string></dict>"));
    makeFile("/private/var/mobile/Applications/stray", 21);
    makeFile("/private/var/mobile/Containers/Data/stray", 22);
    std::vector<std::string> lines;
    const auto leaves = leavesOfScan(&lines);
    EXPECT_THAT(leaves, AllOf(Contains(Pair("iTunes/Ringtones/ABCD.m4r", 3000)),
                              Contains(Pair("Others/private/var/mobile/Applications/stray", 21)),
                              Contains(Pair("Others/private/var/mobile/Containers/Data/stray", 22))));
    const auto endsWith = [](const char *text) { return Contains(::testing::EndsWith(text)); };
    EXPECT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines,
                endsWith(" raised for file /private/var/mobile/Media/iTunes_Control/Ringtones/ABCD.m4r "
                         "while using classifier 3"));
    EXPECT_THAT(lines,
                endsWith(" raised for file /private/var/mobile/Applications/stray while using classifier 2"));
    EXPECT_THAT(
        lines,
        endsWith(" raised for file /private/var/mobile/Containers/Data/stray while using classifier 1"));
}

} // namespace slicewise
