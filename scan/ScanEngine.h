// Walks a whole file system and builds the tree of categories.
//
// One blocking call: the caller's thread loads the tables, walks and classifies, a pool of readers works
// ahead of it, and the serial queue "node creator" alone changes the tree, in walk order. The result does not
// depend on timing: it is that of a loop which takes the directory found last, lists it in the file system's
// order, classifies and inserts each regular file and notes each subdirectory. Symbolic links are never
// followed nor counted;
// "/.file" is left out.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "scan/Classifier.h"
#include "scan/MountPolicy.h"
#include "scan/SZANode.h"
#include "scan/ScanMonitor.h"
#include "scan/ScanReport.h"

#include <string>

namespace slicewise {

struct ScanOptions {
    FileSystemScope scope = FileSystemScope::AllLocal;
    const ClassifierChain *chain = nullptr; ///< null: that of a scan, with tables loaded for it
    ScanMonitor *monitor = nullptr;         ///< null: nobody watches
    unsigned readers = kReadersByMachine;

    static constexpr unsigned kReadersByMachine = ~0U;
};

/// Scans below `rootPath` (a device path) into `root`, which was made with the same device. Nothing that
/// can't be read ends it: see ScanReport::failures. Everything is lent until it returns.
ScanReport scanFileSystem(const Device &device, const std::string &rootPath, SZANode &root, Log &log,
                          const ScanOptions &options = {});

} // namespace slicewise
