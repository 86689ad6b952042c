// The service of a device that deletes photos: its photo library.
//
// A photo that the library knows is more than its file: an entry, previews, copies elsewhere. So only the
// library may delete it, and it does so for programs that carry the right to it.
#pragma once

#include "platform/Log.h"

#include <functional>
#include <memory>
#include <string>

namespace slicewise {

class PhotoLibrary {
public:
    PhotoLibrary() = default;
    PhotoLibrary(const PhotoLibrary &) = delete;
    PhotoLibrary &operator=(const PhotoLibrary &) = delete;
    virtual ~PhotoLibrary() = default;

    /// `error` is the description of the library's error object, "(null)" where it gave none.
    using Handler = std::function<void(bool success, const std::string &error)>;

    /// Asks for the deletion of one asset. The handler is called exactly once: on a thread of the library's
    /// own choice, before or after this returns; or at once, with false, where the library can't be asked. So
    /// whoever waits for it must not do so on a thread that the library needs.
    virtual void deleteAssetWithURLHandler(const std::string &assetUrl, Handler handler) = 0;
};

/// The library of the system that we run on, found at run time through the Objective-C runtime. Where there
/// is none, each deletion is refused, with a line in the log (borrowed).
[[nodiscard]] std::unique_ptr<PhotoLibrary> systemPhotoLibrary(Log &log);

/// Refuses each deletion, with a line in the log (borrowed): for a device that is not the system we run on.
[[nodiscard]] std::unique_ptr<PhotoLibrary> refusingPhotoLibrary(Log &log);

} // namespace slicewise
