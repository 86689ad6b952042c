#include "scan/ScanTables.h"

#include "platform/Database.h"
#include "scan/LocationClassifier.h"

#include <functional>
#include <string>
#include <utility>

namespace slicewise {

namespace {

std::optional<PropertyList> loadList(const Device &device, const char *path)
{
    const Result<std::string> content = readFile(device, path, PropertyList::kMostBytes);
    return content ? PropertyList::parse(*content) : std::nullopt;
}

Database::Limits limitsUntil(const std::atomic<bool> *stop)
{
    Database::Limits limits;
    if (stop != nullptr) {
        limits.stop = [stop] { return stop->load(std::memory_order_relaxed); };
    }
    return limits;
}

MediaIndex loadMediaIndex(const Device &device, Log &log, const std::atomic<bool> *stop)
{
    MediaIndex index;
    // How it ends makes no difference: what it gave before counts.
    static_cast<void>(Database(device, kMediaLibraryPath)
                          .forEachRow(
                              kMediaLibraryQuery,
                              [&](Database::Row row) { mediaLibraryRowCallback(index, log, row); },
                              limitsUntil(stop)));
    return index;
}

MessageAttachmentIndex loadMessageAttachments(const Device &device, const std::atomic<bool> *stop)
{
    MessageAttachmentIndex index;
    static_cast<void>(Database(device, kMessagesPath)
                          .forEachRow(
                              kMessagesQuery,
                              [&](Database::Row row) { messageAttachmentRowCallback(index, row); },
                              limitsUntil(stop)));
    return index;
}

template <typename ByFile, typename ByDirectory>
Classifier classifierOf(ByFile byFile, ByDirectory byDirectory)
{
    return {.classify = std::move(byFile), .classifyDirectory = std::move(byDirectory)};
}

} // namespace

ScanTables::ScanTables(const Device &device, Log &log, const std::atomic<bool> *stop)
    : ScanTables(device, log, stop, packageToolOnPath(stop))
{}

ScanTables::ScanTables(const Device &device, Log &log, const std::atomic<bool> *stop,
                       const PackageTool &packageTool)
    : packageIndex(loadPackageIndex(device, log, packageTool)),
      ringtoneIndex(loadList(device, kRingtonesPath)),
      mediaIndex(loadMediaIndex(device, log, stop)),
      appNames(device),
      smsAttachmentIndex(loadMessageAttachments(device, stop))
{}

ClassifierChain makeClassifierChain(ScanTables &tables)
{
    ClassifierChain chain(kClassifierCount);
    const auto place = [&chain](ClassifierIndex index, auto byFile, auto byDirectory) {
        chain[static_cast<std::size_t>(index)] = classifierOf(byFile, byDirectory);
    };
    const auto with = [](auto function, auto &table) {
        return [function, &table](const std::string &path) { return function(table, path); };
    };
    place(ClassifierIndex::Package, with(classifyPackage, tables.packageIndex),
          with(classifyPackageOfDirectory, tables.packageIndex));
    place(ClassifierIndex::ContainerApp, with(classifyContainerApp, tables.appNames),
          with(classifyContainerAppOfDirectory, tables.appNames));
    place(ClassifierIndex::LegacyApp, with(classifyLegacyApp, tables.appNames),
          with(classifyLegacyAppOfDirectory, tables.appNames));
    place(ClassifierIndex::Ringtone, with(classifyRingtone, tables.ringtoneIndex),
          with(classifyRingtoneOfDirectory, tables.ringtoneIndex));
    place(ClassifierIndex::MediaItem, with(classifyMediaItem, tables.mediaIndex),
          with(classifyMediaItemOfDirectory, tables.mediaIndex));
    place(ClassifierIndex::MessageAttachment, with(classifyMessageAttachment, tables.smsAttachmentIndex),
          with(classifyMessageAttachmentOfDirectory, tables.smsAttachmentIndex));
    place(ClassifierIndex::Location, classifyLocation, classifyLocationOfDirectory);
    place(ClassifierIndex::Other, classifyOther, classifyOtherOfDirectory);
    return chain;
}

} // namespace slicewise
