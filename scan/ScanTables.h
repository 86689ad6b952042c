// What a scan looks up: the device's own catalogues, read once before its first file is classified.
//
// Built, used and destroyed by the walking thread; the device and the log are borrowed. A catalogue that is
// missing, locked, damaged or of another shape leaves its table empty, and its files fall to later
// classifiers.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"
#include "scan/ApplicationClassifier.h"
#include "scan/Classifier.h"
#include "scan/MediaClassifier.h"
#include "scan/PackageIndex.h"

#include <atomic>
#include <optional>

namespace slicewise {

struct ScanTables {
    // In the order in which they are loaded; they go in the reverse one.
    PackageIndex packageIndex;
    std::optional<PropertyList> ringtoneIndex;
    MediaIndex mediaIndex;
    ApplicationNames appNames; ///< holds appNameCache
    MessageAttachmentIndex smsAttachmentIndex;

    /// Loads them all. `stop` (borrowed, may be null) ends it early.
    ScanTables(const Device &device, Log &log, const std::atomic<bool> *stop);
    /// As above, with another package tool than the one on PATH.
    ScanTables(const Device &device, Log &log, const std::atomic<bool> *stop, const PackageTool &packageTool);
};

/// The chain of a scan, in its fixed order: what an installed package owns is reported there wherever it
/// lies, applications come before the media databases, the location table after every database, and the last
/// one accepts everything. The tables are borrowed; the names of applications are filled in as they are met.
[[nodiscard]] ClassifierChain makeClassifierChain(ScanTables &tables);

} // namespace slicewise
