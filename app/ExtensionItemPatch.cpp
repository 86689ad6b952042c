#include "app/ExtensionItemPatch.h"

#include "platform/ObjectiveC.h"

#include <optional>

namespace slicewise {

namespace {

constexpr const char *kPatchedClass = "NSExtensionItem";
constexpr const char *kOurClass = "SZAAppDelegate";
constexpr const char *kSelector = "_matchingDictionaryRepresentation";

/// Of the replacement, which is called by the runtime and handed nothing of ours.
Log *logOfPatch = nullptr; // NOLINT(readability-identifier-naming): not a constant

ObjcId matchingDictionaryRepresentation(ObjcId /*receiver*/, ObjcSelector * /*selector*/)
{
    logOfPatch->line("Did I crash?");
    const ObjectiveC runtime = ObjectiveC::find().value();
    return runtime.send(runtime.classNamed("NSDictionary"), "dictionary");
}

} // namespace

bool patchExtensionItems(Log &log)
{
    const std::optional<ObjectiveC> runtime = ObjectiveC::find();
    if (logOfPatch != nullptr || !runtime || !runtime->hasInstanceMethod(kPatchedClass, kSelector) ||
        !runtime->addClass(kOurClass, kSelector, matchingDictionaryRepresentation)) {
        return false;
    }
    logOfPatch = &log;
    return runtime->exchangeInstanceMethods(kPatchedClass, kOurClass, kSelector);
}

} // namespace slicewise
