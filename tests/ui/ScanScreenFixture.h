// A first screen on a device whose scan a test can hold in the middle.
#pragma once

#include "tests/ui/BrowserParts.h"
#include "tests/ui/Gate.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace slicewise {

/// Files under the names of the directories that they lie in.
inline ClassifierChain byDirectory()
{
    ClassifierChain chain;
    chain.push_back({.classify =
                         [](const std::string &path) {
                             constexpr std::string_view kPadding = "/padding/";
                             return path.substr(path.starts_with(kPadding) ? kPadding.size() : 1);
                         },
                     .classifyDirectory = {}});
    return chain;
}

/// The walk takes the directory found last first, so that it comes to "gate" in the end; and it hands over
/// what it has when there is much of it, so that all before the padding gets in while the gate is closed.
class DeviceWithGate {
public:
    explicit DeviceWithGate(const std::string &paddedCategory)
    {
        memory.addFile("/gate/late", 1000);
        for (int i = 0; i < 10'000; ++i) {
            memory.addFile("/padding/" + paddedCategory + "/" + std::to_string(i), 0);
        }
    }
    MemoryDevice memory;
};

class ScanScreenTest : public ::testing::Test {
protected:
    ScanScreenTest()
    {
        system.scan.chain = &chain;
        memory.addFile("/small/a", 10);
        memory.addFile("/large/b", 700);
        memory.addFile("/middle/c", 300);
    }

    ~ScanScreenTest() override
    {
        // A screen waits for its scan.
        gate.letGo();
    }

    void load(const Device &device)
    {
        screen = SZAViewController::controller(system.services(device));
        QObject::connect(screen.get(), &SZAViewController::scanHUDChanged, [this] {
            system.notes.push_back(screen->scanHUD() ? "overlay " + screen->scanHUD()->toStdString()
                                                     : "no overlay");
        });
        screen->setChart(&chart);
        screen->loadViewIfNeeded();
    }
    void loadHeld()
    {
        load(failing);
        // What is behind the gate is missing; all else gets in sooner or later.
        do {
            std::this_thread::yield();
            screen->updateCurrentSize();
        } while (screen->root()->size() < 1010);
    }
    void finish()
    {
        gate.letGo();
        waitUntilDone(*screen);
    }
    [[nodiscard]] BarButtonItem::Look rightLook() const
    {
        return screen->navigationItem()->rightBarButtonItem().value().look;
    }

    ClassifierChain chain = byDirectory();
    System system;
    DeviceWithGate held{"small"};
    MemoryDevice &memory = held.memory;
    FailingDevice failing{static_cast<const Device &>(memory)};
    Gate gate{failing, "/gate"};
    QVPieChart chart{QRectF(0, 0, 200, 100)};
    std::unique_ptr<SZAViewController> screen;
};

} // namespace slicewise
