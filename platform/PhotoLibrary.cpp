#include "platform/PhotoLibrary.h"

#include "platform/CompletionBlock.h"
#include "platform/ObjectiveC.h"

#include <optional>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kLibraryClass = "PLGatekeeperClient";

void refuse(Log &log, const PhotoLibrary::Handler &handler, const std::string &reason)
{
    log.line("The photo library can't be asked: " + reason + ".");
    handler(false, "(null)"); // no error object either
}

// On a thread of the library's own, which may have no pool for what a description is made of.
std::string describe(const ObjectiveC &runtime, ObjcId error)
{
    std::string text = "(null)";
    if (!runtime.guarded([&] { text = runtime.description(error); })) {
        text = "an error that can't be described";
    }
    return text;
}

// Why the library could not be asked; absent where it has been.
std::optional<std::string> ask(const ObjectiveC &runtime, const std::string &assetUrl,
                               const CompletionBlock &block)
{
    const ObjcId library = runtime.send(runtime.classNamed(kLibraryClass), "sharedInstance");
    if (library == nullptr) {
        return "it has no shared instance";
    }
    const ObjcId text = runtime.text(assetUrl);
    const ObjcId url =
        text != nullptr ? runtime.send(runtime.classNamed("NSURL"), "URLWithString:", text) : nullptr;
    if (url == nullptr) {
        return "\"" + assetUrl + "\" is no URL";
    }
    runtime.send<void>(library, "deleteAssetWithURL:handler:", url, block.object());
    return std::nullopt;
}

class SystemPhotoLibrary final : public PhotoLibrary {
public:
    explicit SystemPhotoLibrary(Log &log) : m_log(log) {}

    void deleteAssetWithURLHandler(const std::string &assetUrl, Handler handler) override
    {
        const auto obstacle = ObjectiveC::obstacle({kLibraryClass, "NSURL", "NSString", "NSAutoreleasePool"});
        if (obstacle) {
            refuse(m_log, handler, *obstacle);
            return;
        }
        const ObjectiveC runtime = ObjectiveC::find().value();
        CompletionBlock block(
            [runtime, handler](bool success, ObjcId error) { handler(success, describe(runtime, error)); });
        std::optional<std::string> refusal;
        if (!runtime.guarded([&] { refusal = ask(runtime, assetUrl, block); })) {
            refusal = "it raised an exception";
        }
        // What was raised after the library had answered changes nothing.
        if (refusal && block.withdraw()) {
            refuse(m_log, handler, *refusal);
        }
    }

private:
    Log &m_log;
};

class RefusingPhotoLibrary final : public PhotoLibrary {
public:
    explicit RefusingPhotoLibrary(Log &log) : m_log(log) {}

    void deleteAssetWithURLHandler(const std::string & /*assetUrl*/, Handler handler) override
    {
        refuse(m_log, handler, "the device is not the system that runs here");
    }

private:
    Log &m_log;
};

} // namespace

std::unique_ptr<PhotoLibrary> systemPhotoLibrary(Log &log)
{
    return std::make_unique<SystemPhotoLibrary>(log);
}

std::unique_ptr<PhotoLibrary> refusingPhotoLibrary(Log &log)
{
    return std::make_unique<RefusingPhotoLibrary>(log);
}

} // namespace slicewise
