// What is known of a file that is shown, read on a thread of its own, and the words for it.
#pragma once

#include "platform/Device.h"
#include "preview/ContentKind.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace slicewise {

struct DocumentFacts {
    int error = 0; ///< errno where the file can't be opened or read
    std::shared_ptr<ReadableFile> file;
    std::uint64_t sizeBytes = 0;
    FileTimes times;
    std::string head; ///< its first bytes, kHeadBytes at most
    ContentKind kind = ContentKind::Other;
};

/// Opens the file and looks at its beginning. Any thread.
[[nodiscard]] DocumentFacts readDocumentFacts(const Device &device, const std::string &path);

// Words in the language of the program. Of the thread that does not change the locale.

[[nodiscard]] QString kindText(ContentKind kind, const std::string &path);
/// With the marks between thousands that the user's language has.
[[nodiscard]] QString exactSizeText(std::uint64_t bytes);
/// In local time; empty where absent.
[[nodiscard]] QString timeText(std::optional<std::int64_t> seconds);
[[nodiscard]] QString openErrorText(int error);

} // namespace slicewise
