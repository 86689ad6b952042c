#include "platform/Database.h"

#include "platform/DatabaseFiles.h"
#include "platform/DatabaseWatch.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

// For all connections of the process together: SQLite knows no other way to keep a sort from filling the
// memory.
constexpr std::int64_t kMostHeapBytes = std::int64_t{48} << 20U;
// Rows may have pictures in them.
constexpr std::uint64_t kMostValueBytes = std::uint64_t{16} << 20U;
constexpr std::uint64_t kLeastValueLimit = std::uint64_t{1} << 20U;
// Between two looks at the watch, some of these may handle a value of the largest size.
constexpr int kStepsBetweenLooks = 100;
// What comparing a text with a pattern may cost, in products of their lengths.
constexpr std::uint64_t kMostPatternWork = std::uint64_t{64} << 20U;

// What costs as much as its arguments are long at most, and makes nothing that is much longer.
constexpr std::array<std::string_view, 46> kFunctions = {
    "abs",
    "avg",
    "ceil",
    "ceiling",
    "coalesce",
    "count",
    "current_date",
    "current_time",
    "current_timestamp",
    "date",
    "datetime",
    "floor",
    "hex",
    "ifnull",
    "iif",
    "julianday",
    "length",
    "likelihood",
    "likely",
    "lower",
    "ltrim",
    "max",
    "min",
    "mod",
    "nullif",
    "pow",
    "power",
    "quote",
    "round",
    "rtrim",
    "sign",
    "sqrt",
    "strftime",
    "substr",
    "substring",
    "sum",
    "time",
    "total",
    "trim",
    "trunc",
    "typeof",
    "unicode",
    "unixepoch",
    "unlikely",
    "upper",
    "sqlite_version",
};

struct CloseConnection {
    void operator()(sqlite3 *connection) const { sqlite3_close(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

struct FinishStatement {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinishStatement>;

void refuse(sqlite3_context *context, int /*count*/, sqlite3_value ** /*arguments*/)
{
    sqlite3_result_error(context, "this function is not run on databases of others", -1);
}

// LIKE and GLOB can't be ended while they compare, so what may take long is not begun.
bool mayCompare(sqlite3_context *context, std::span<sqlite3_value *> arguments)
{
    const auto isNull = [](sqlite3_value *value) { return sqlite3_value_type(value) == SQLITE_NULL; };
    if (std::any_of(arguments.begin(), arguments.end(), isNull)) {
        return false; // a result that has not been set is NULL
    }
    const auto patternBytes = static_cast<std::uint64_t>(sqlite3_value_bytes(arguments[0]));
    const auto textBytes = static_cast<std::uint64_t>(sqlite3_value_bytes(arguments[1]));
    auto &watch = *static_cast<DatabaseWatch *>(sqlite3_user_data(context));
    if (patternBytes * textBytes > kMostPatternWork || watch.isOver()) {
        sqlite3_result_error(context, "a comparison that takes too long", -1);
        return false;
    }
    if (sqlite3_value_type(arguments[0]) == SQLITE_BLOB || sqlite3_value_type(arguments[1]) == SQLITE_BLOB) {
        sqlite3_result_int(context, 0);
        return false;
    }
    return true;
}

const char *textOf(sqlite3_value *value)
{
    return reinterpret_cast<const char *>(sqlite3_value_text(value));
}

void compareLike(sqlite3_context *context, int count, sqlite3_value **values)
{
    const std::span arguments(values, static_cast<std::size_t>(count));
    if (!mayCompare(context, arguments)) {
        return;
    }
    unsigned escape = 0;
    if (arguments.size() == 3) {
        const char *text = textOf(arguments[2]);
        if (text == nullptr || sqlite3_value_bytes(arguments[2]) != 1) {
            sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
            return;
        }
        escape = static_cast<unsigned char>(*text);
    }
    const char *pattern = textOf(arguments[0]);
    const char *text = textOf(arguments[1]);
    if (pattern != nullptr && text != nullptr) {
        sqlite3_result_int(context, sqlite3_strlike(pattern, text, escape) == 0 ? 1 : 0);
    }
}

void compareGlob(sqlite3_context *context, int count, sqlite3_value **values)
{
    const std::span arguments(values, static_cast<std::size_t>(count));
    if (!mayCompare(context, arguments)) {
        return;
    }
    const char *pattern = textOf(arguments[0]);
    const char *text = textOf(arguments[1]);
    if (pattern != nullptr && text != nullptr) {
        sqlite3_result_int(context, sqlite3_strglob(pattern, text) == 0 ? 1 : 0);
    }
}

bool isAmongOurs(std::string_view function)
{
    return std::find(kFunctions.begin(), kFunctions.end(), function) != kFunctions.end();
}

struct FunctionName {
    std::string name;
    int argumentCount; ///< -1: any number
};

/// All functions of this SQLite that are not among ours.
std::vector<FunctionName> findFunctionsToRefuse()
{
    std::vector<FunctionName> functions = {
        // With a set of characters, these take as long as both are long, multiplied.
        {.name = "trim", .argumentCount = 2},
        {.name = "ltrim", .argumentCount = 2},
        {.name = "rtrim", .argumentCount = 2},
    };
    sqlite3 *opened = nullptr;
    const int code =
        sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr);
    const Connection connection(opened);
    sqlite3_stmt *prepared = nullptr;
    if (code != SQLITE_OK ||
        sqlite3_prepare_v2(opened, "SELECT DISTINCT name, narg FROM pragma_function_list", -1, &prepared,
                           nullptr) != SQLITE_OK) {
        return {};
    }
    const Statement statement(prepared);
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(prepared)) == SQLITE_ROW) {
        const auto *name = reinterpret_cast<const char *>(sqlite3_column_text(prepared, 0));
        if (name == nullptr) {
            return {};
        }
        if (!isAmongOurs(name)) {
            // One that takes as many arguments as there are goes before one that takes any number; but one
            // that an extension has brought goes before those that SQLite has itself.
            functions.push_back({.name = name, .argumentCount = -1});
            functions.push_back({.name = name, .argumentCount = sqlite3_column_int(prepared, 1)});
        }
    }
    return step == SQLITE_DONE ? functions : std::vector<FunctionName>();
}

bool replaceFunctions(sqlite3 *connection, DatabaseWatch &watch)
{
    // Said to be deterministic, so that a schema with an index on such a value can still be read.
    constexpr int kRefused = SQLITE_ANY | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    constexpr int kHarmless = kRefused | SQLITE_INNOCUOUS;
    const auto create = [&](const char *name, int count, int flags, auto *function) {
        return sqlite3_create_function_v2(connection, name, count, flags, &watch, function, nullptr, nullptr,
                                          nullptr) == SQLITE_OK;
    };
    static const std::vector<FunctionName> refused = findFunctionsToRefuse();
    const bool done = std::all_of(refused.begin(), refused.end(), [&](const FunctionName &function) {
        return create(function.name.c_str(), function.argumentCount, kRefused, refuse);
    });
    return !refused.empty() && done && create("like", 2, kHarmless, compareLike) &&
           create("like", 3, kHarmless, compareLike) && create("glob", 2, kHarmless, compareGlob);
}

void setLimits(sqlite3 *connection, std::uint64_t mostValueBytes)
{
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, static_cast<int>(mostValueBytes));
    sqlite3_limit(connection, SQLITE_LIMIT_SQL_LENGTH, 1'000'000);
    sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_VDBE_OP, 10'000);
    sqlite3_limit(connection, SQLITE_LIMIT_EXPR_DEPTH, 200);
    sqlite3_limit(connection, SQLITE_LIMIT_COMPOUND_SELECT, 50);
    sqlite3_limit(connection, SQLITE_LIMIT_TRIGGER_DEPTH, 1);
    sqlite3_limit(connection, SQLITE_LIMIT_WORKER_THREADS, 0);
}

bool setUp(sqlite3 *connection)
{
    const auto set = [connection](int option, int value) {
        return sqlite3_db_config(connection, option, value, nullptr) == SQLITE_OK;
    };
    return set(SQLITE_DBCONFIG_DEFENSIVE, 1) && set(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0) &&
           set(SQLITE_DBCONFIG_ENABLE_TRIGGER, 0) && set(SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0) &&
           set(SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1) &&
           // Virtual tables would read what the schema says by code that is made for friends.
           sqlite3_drop_modules(connection, nullptr) == SQLITE_OK;
}

// Whether the statement that is being prepared may do this.
int authorize(void * /*data*/, int action, const char * /*first*/, const char *second,
              const char * /*database*/, const char * /*view*/)
{
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE:
        return SQLITE_OK;
    case SQLITE_FUNCTION: {
        const std::string_view function = second != nullptr ? second : "";
        return isAmongOurs(function) || function == "like" || function == "glob" ? SQLITE_OK : SQLITE_DENY;
    }
    default:
        return SQLITE_DENY;
    }
}

int lookAtWatch(void *watch)
{
    return static_cast<DatabaseWatch *>(watch)->isOverAfter(kStepsBetweenLooks) ? 1 : 0;
}

/// No value of a database is larger than its files, so that one who sends a small one can't have large ones
/// handled for long. Twice that, for texts in UTF-16.
std::uint64_t mostValueBytes(const Device &device, const std::string &path)
{
    const auto size = [&device](const std::string &file) {
        const Result<FileStatus> status = device.status(file);
        return status ? std::min(status->sizeBytes, kMostValueBytes) : 0;
    };
    return std::clamp(2 * (size(path) + size(path + "-wal") + size(path + "-journal")), kLeastValueLimit,
                      kMostValueBytes);
}

Connection openConnection(const DatabaseFiles &files, std::uint64_t mostValueBytes, DatabaseWatch &watch)
{
    sqlite3 *opened = nullptr;
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;
    const int code = sqlite3_open_v2(DatabaseFiles::kDatabaseName, &opened, kFlags, files.vfsName());
    Connection connection(opened);
    if (code != SQLITE_OK) {
        return nullptr;
    }
    setLimits(opened, mostValueBytes);
    if (!setUp(opened) || !replaceFunctions(opened, watch)) {
        return nullptr;
    }
    sqlite3_progress_handler(opened, kStepsBetweenLooks, lookAtWatch, &watch);
    // The first before anything is read: with the database to itself, as it believes, SQLite needs no shared
    // memory for a log. The last reads the schema, whose own wish for a cache it overrules.
    constexpr const char *kPragmas = "PRAGMA locking_mode=EXCLUSIVE;"
                                     "PRAGMA temp_store=MEMORY;"
                                     "PRAGMA mmap_size=0;"
                                     "PRAGMA cell_size_check=ON;"
                                     "PRAGMA query_only=ON;"
                                     "PRAGMA cache_size=-2000;";
    if (sqlite3_exec(opened, kPragmas, nullptr, nullptr, nullptr) != SQLITE_OK ||
        sqlite3_set_authorizer(opened, authorize, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    return connection;
}

/// The texts of a row; false where they could not be made, or there are more than `textBytesLeft`.
bool takeRow(sqlite3_stmt *statement, std::vector<const char *> &row, std::uint64_t &textBytesLeft)
{
    for (int column = 0; std::cmp_less(column, row.size()); ++column) {
        const bool isNull = sqlite3_column_type(statement, column) == SQLITE_NULL;
        const char *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
        if (!isNull && text == nullptr) {
            return false;
        }
        const auto bytes = static_cast<std::uint64_t>(sqlite3_column_bytes(statement, column));
        if (bytes > textBytesLeft) {
            return false;
        }
        textBytesLeft -= bytes;
        row[static_cast<std::size_t>(column)] = isNull ? nullptr : text;
    }
    return true;
}

bool run(sqlite3 *connection, const std::string &query, const std::function<void(Database::Row)> &row,
         std::uint64_t mostTextBytes, DatabaseWatch &watch)
{
    sqlite3_stmt *prepared = nullptr;
    if (sqlite3_prepare_v2(connection, query.c_str(), -1, &prepared, nullptr) != SQLITE_OK ||
        prepared == nullptr) {
        return false;
    }
    const Statement statement(prepared);
    watch.begin();
    std::vector<const char *> texts(static_cast<std::size_t>(sqlite3_column_count(prepared)));
    std::uint64_t textBytesLeft = mostTextBytes;
    while (true) {
        // Rows are handed out between SQLite's calls, so what the caller raises passes through none of them.
        const int code = sqlite3_step(prepared);
        if (code != SQLITE_ROW) {
            return code == SQLITE_DONE;
        }
        if (!takeRow(prepared, texts, textBytesLeft)) {
            return false;
        }
        watch.standAside([&] { row(texts); });
    }
}

} // namespace

struct Database::State {
    const Device &device;
    std::string path;
};

Database::Database(const Device &device, std::string path)
    : m_state(std::make_unique<State>(State{.device = device, .path = std::move(path)}))
{}

Database::~Database() = default;

bool Database::forEachRow(const std::string &query, const std::function<void(Row)> &row, const Limits &limits)
{
    static const bool isLimited = [] {
        return sqlite3_initialize() == SQLITE_OK && sqlite3_hard_heap_limit64(kMostHeapBytes) >= 0;
    }();
    const Result<std::string> path = m_state->device.resolve(m_state->path);
    if (!isLimited || !path) {
        return false;
    }
    DatabaseWatch watch(limits.mostSteps, limits.stop);
    bool done = false;
    {
        const DatabaseFiles files(m_state->device, *path, [&watch] { return watch.isOver(); });
        const Connection connection = openConnection(files, mostValueBytes(m_state->device, *path), watch);
        done = connection && run(connection.get(), query, row, limits.mostTextBytes, watch);
    }
    watch.rethrow();
    return done;
}

} // namespace slicewise
