#include "tests/support/SampleDatabase.h"
#include "tests/support/SampleList.h"
#include "tests/support/SampleParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>
#include <unordered_map>

namespace slicewise {

namespace {

const std::string kMessages = "/private/var/mobile/Library/SMS/";

constexpr std::string_view kSchema = R"(
    CREATE TABLE handle (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL, service TEXT NOT NULL);
    CREATE TABLE chat (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, chat_identifier TEXT);
    CREATE TABLE message (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, text TEXT,
        handle_id INTEGER DEFAULT 0, service TEXT, date INTEGER, is_from_me INTEGER DEFAULT 0,
        cache_has_attachments INTEGER DEFAULT 0);
    CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL,
        created_date INTEGER DEFAULT 0, filename TEXT, mime_type TEXT, transfer_name TEXT,
        total_bytes INTEGER DEFAULT 0);
    CREATE TABLE chat_message_join (chat_id INTEGER, message_id INTEGER, PRIMARY KEY (chat_id, message_id));
    CREATE TABLE message_attachment_join (message_id INTEGER, attachment_id INTEGER,
        UNIQUE (message_id, attachment_id));
)";

constexpr std::int64_t kHandles = 12;

/// What there is to see in an attachment; they take turns.
struct Look {
    enum class Place : bool { FromHome, FromVar };
    enum class Name : std::uint8_t { Own, OfTheCamera, None };
    enum class Stays : std::uint8_t { File, FileAndPreview, Nothing };
    Place place;
    Name name;
    Stays stays;
    std::string_view extension;
    std::string_view mimeType;
};

constexpr std::array kLooks = {
    Look{Look::Place::FromHome, Look::Name::Own, Look::Stays::FileAndPreview, "JPG", "image/jpeg"},
    Look{Look::Place::FromHome, Look::Name::OfTheCamera, Look::Stays::File, "JPG", "image/jpeg"},
    Look{Look::Place::FromVar, Look::Name::OfTheCamera, Look::Stays::FileAndPreview, "JPG", "image/jpeg"},
    Look{Look::Place::FromHome, Look::Name::None, Look::Stays::File, "PNG", "image/png"},
    Look{Look::Place::FromHome, Look::Name::Own, Look::Stays::Nothing, "JPG", "image/jpeg"},
    Look{Look::Place::FromVar, Look::Name::Own, Look::Stays::File, "MOV", "video/quicktime"},
    Look{Look::Place::FromHome, Look::Name::OfTheCamera, Look::Stays::FileAndPreview, "JPG", "image/jpeg"},
    Look{Look::Place::FromVar, Look::Name::None, Look::Stays::File, "JPG", "image/jpeg"},
    Look{Look::Place::FromHome, Look::Name::Own, Look::Stays::File, "vcf", "text/vcard"},
    Look{Look::Place::FromHome, Look::Name::Own, Look::Stays::File, "m4a", "audio/x-m4a"},
};

/// Names that several attachments have get " 2", " 3" and so on, in the order of the table.
class Names {
public:
    std::string unique(const std::string &name)
    {
        const std::uint64_t times = ++m_times[name];
        return times == 1 ? name : fmt::format("{} {}", name, times);
    }

private:
    std::unordered_map<std::string, std::uint64_t> m_times;
};

class Messages {
public:
    explicit Messages(SampleBuilder &builder)
        : m_builder(builder),
          m_dice(builder.dice("messages")),
          m_database(builder.hostPath(kPath), std::string(kSchema))
    {}

    void addHandles();
    void addMessages(std::uint64_t count);
    void addAttachments(std::uint64_t count);
    void startLog() { m_database.startLog(); }
    void finish();

private:
    inline static const std::string kPath = kMessages + "sms.db";

    std::int64_t addMessage(const std::string &text, std::int64_t attachments);
    void addAttachment(const Look &look);
    void addFiles(const Look &look, const std::string &directory, const std::string &stem,
                  const std::string &name, std::uint64_t sizeBytes);

    SampleBuilder &m_builder;
    Dice m_dice;
    SampleDatabase m_database;
    Names m_names;
    std::int64_t m_messages = 0;
    std::int64_t m_attachments = 0;
};

void Messages::addHandles()
{
    for (std::int64_t number = 1; number <= kHandles; ++number) {
        const std::string id = fmt::format("+1555010{:04}", number * 37);
        m_database.insert("handle", {number, id, "iMessage"});
        m_database.insert("chat", {number, "iMessage;-;" + id, id});
    }
}

std::int64_t Messages::addMessage(const std::string &text, std::int64_t attachments)
{
    const std::int64_t handle = 1 + m_messages % kHandles;
    const std::int64_t date = 460'000'000 + m_messages * 977;
    m_database.insert("message", {++m_messages, m_dice.uuid(), text, handle, "iMessage", date, m_messages % 2,
                                  attachments});
    m_database.insert("chat_message_join", {handle, m_messages});
    return m_messages;
}

void Messages::addMessages(std::uint64_t count)
{
    static constexpr std::array<std::string_view, 6> kTexts = {
        "Are you there yet?",        "Fünf Minuten",         "On my way", "明日ね",
        "Did you get the pictures?", "See you at eight 🙂"};
    for (std::uint64_t number = 0; number < count; ++number) {
        addMessage(std::string(kTexts[number % kTexts.size()]), 0);
    }
}

void Messages::addAttachments(std::uint64_t count)
{
    for (std::uint64_t number = 0; number < count; ++number) {
        addAttachment(kLooks[number % kLooks.size()]);
    }
}

void Messages::addAttachment(const Look &look)
{
    const std::int64_t number = ++m_attachments;
    const std::string guid = m_dice.uuid();
    std::string scattered = m_dice.hex(2);
    std::transform(scattered.begin(), scattered.end(), scattered.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    const std::string directory = fmt::format("Attachments/{}/{:02}/{}/", scattered, number % 16, guid);
    const std::string stem = fmt::format("IMG_{:04}", number % 10'000);
    const std::string file = fmt::format("{}.{}", stem, look.extension);

    SampleDatabase::Value transferName = nullptr;
    std::string name = file;
    if (look.name != Look::Name::None) {
        // Every camera begins with the same number.
        name = look.name == Look::Name::OfTheCamera ? fmt::format("IMG_0001.{}", look.extension)
                                                    : fmt::format("Grüße {}.{}", number, look.extension);
        transferName = name;
    }
    const std::uint64_t sizeBytes = m_dice.between(20'000, 4'000'000);
    const std::string front =
        look.place == Look::Place::FromHome ? "~/Library/SMS/" : "/var/mobile/Library/SMS/";
    const std::int64_t message =
        addMessage("\xEF\xBF\xBC", 1); // the character in a text that stands for an object
    m_database.insert("attachment",
                      {number, guid, 460'000'000 + number * 977, front + directory + file,
                       std::string(look.mimeType), transferName, static_cast<std::int64_t>(sizeBytes)});
    m_database.insert("message_attachment_join", {message, number});
    addFiles(look, directory, stem, m_names.unique(name), sizeBytes);
}

void Messages::addFiles(const Look &look, const std::string &directory, const std::string &stem,
                        const std::string &name, std::uint64_t sizeBytes)
{
    m_builder.directory(kMessages + directory.substr(0, directory.size() - 1));
    if (look.stays == Look::Stays::Nothing) {
        return;
    }
    m_builder.file(fmt::format("{}{}{}.{}", kMessages, directory, stem, look.extension), sizeBytes,
                   "Message Attachments/" + name);
    if (look.stays == Look::Stays::FileAndPreview) {
        const std::string preview = stem + "-preview.jpg";
        m_builder.file(kMessages + directory + preview, m_dice.between(4'000, 90'000),
                       "Message Attachments/Previews/" + preview);
    }
}

void Messages::finish()
{
    m_database.close(m_dice.next());
    m_builder.planFile(kPath, "Messages/sms.db");
    m_builder.planFile(kPath + "-wal", "Messages/sms.db-wal");
    // Nothing in the table leads to their directories.
    const std::uint64_t forgotten = m_builder.count(6, 2);
    for (std::uint64_t number = 0; number < forgotten; ++number) {
        const std::string below =
            fmt::format("Attachments/{:02x}/00/{}/old.jpg", number % 256, m_dice.uuid());
        m_builder.file(kMessages + below, m_dice.between(20'000, 2'000'000), "Messages/" + below);
    }
    m_builder.write(kMessages + "Drafts/PENDING.draft/message.plist",
                    SampleList({{"markupString", "See you"}}).bytes(SampleList::Form::Xml),
                    "Messages/Drafts/PENDING.draft/message.plist");
}

} // namespace

void addSampleMessages(SampleBuilder &builder)
{
    Messages messages(builder);
    messages.addHandles();
    messages.addMessages(builder.count(400, 20));
    messages.addAttachments(builder.count(200, 2 * kLooks.size()));
    messages.startLog();
    messages.addMessages(builder.count(20, 4));
    messages.addAttachments(kLooks.size());
    messages.finish();
}

} // namespace slicewise
