// A screen of the browser: one node of the tree, its largest children as slices of a chart and all of them as
// rows of a table.
//
// The first screen scans the device, shows how far it has come, and becomes the overview "Disk". Every other
// one is made for a node that was picked, and never scans. Knows nothing of windows: what draws it reads the
// properties, hands it a chart, and follows the signals. GUI thread. The tree belongs to all screens
// together; during the scan the screen's tree is a picture of the top level, replaced at each tick, because
// the real one is the scan's.
//
// Made, then loadViewIfNeeded(), then viewDidAppear() each time it has come to the front. A screen that goes
// away while it scans stops the scan and waits for it.
#pragma once

#include "chart/QVPieChart.h"
#include "chart/QVPieChartDataSource.h"
#include "chart/QVPieChartDelegate.h"
#include "platform/SystemVersion.h"
#include "scan/SZANode.h"
#include "scan/ScanEngine.h"
#include "ui/DocumentPresenter.h"
#include "ui/NodeTable.h"
#include "ui/RootScan.h"
#include "ui/SZANavItem.h"
#include "ui/SliceColor.h"
#include "ui/SystemServices.h"
#include "ui/Timers.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace slicewise {

class SZANavigationController;

enum class UserInterfaceIdiom : unsigned char { Phone = 0, Pad = 1 };

/// What all screens of a program share. Everything is borrowed and must outlive them.
struct BrowserServices {
    const Device *device = nullptr;
    Log *log = nullptr;
    Timers *timers = nullptr;
    DocumentPresenter *documents = nullptr;
    IdleTimer *idleTimer = nullptr;             ///< null: the system never sleeps by itself
    BackgroundTasks *backgroundTasks = nullptr; ///< null: the system needs no asking
    UserInterfaceIdiom idiom = UserInterfaceIdiom::Phone;
    SystemVersion systemVersion = {}; ///< of the system that we run on
    ScanOptions scan = {};            ///< its monitor is left aside
};

class SZAViewController : public QObject,
                          public QVPieChartDataSource,
                          public QVPieChartDelegate,
                          public NodeTableDataSource,
                          public NodeTableDelegate {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Pushed by the navigation controller")
    Q_PROPERTY(slicewise::NodeTable *tableView READ tableView CONSTANT)
    Q_PROPERTY(slicewise::SZANavItem *navigationItem READ navigationItem CONSTANT)
    Q_PROPERTY(bool doneScan READ doneScan NOTIFY doneScanChanged)
    Q_PROPERTY(QString scanHUD READ scanHUDText NOTIFY scanHUDChanged)
    Q_PROPERTY(bool chartUserInteractionEnabled READ isChartUserInteractionEnabled NOTIFY
                   chartUserInteractionEnabledChanged)

public:
    static constexpr const char *kStoryboardIdentifier = "SZAViewController";
    static constexpr const char *kReuseIdentifier = "MainTableViewCellID";

    /// The file that lays a screen out: "Main_iPad" or "Main_iPhone".
    [[nodiscard]] static QString storyboardName(UserInterfaceIdiom idiom);
    /// A new screen, which will scan.
    [[nodiscard]] static std::unique_ptr<SZAViewController> controller(const BrowserServices &services);
    /// A new screen for a child of the node that is shown. It is not pushed.
    [[nodiscard]] std::unique_ptr<SZAViewController> controllerWithNode(SZANode &node) const;

    explicit SZAViewController(const BrowserServices &services);
    SZAViewController(const SZAViewController &) = delete;
    SZAViewController &operator=(const SZAViewController &) = delete;
    ~SZAViewController() override;

    void awakeFromNib();
    /// The first time calls viewDidLoad(). Afterwards a chart that is set is set up and filled at once.
    Q_INVOKABLE void loadViewIfNeeded();
    void viewDidLoad();
    /// Takes back what the last pick has selected.
    Q_INVOKABLE void viewDidAppear();

    // Every pointer into the tree is good until the root is another one, which happens only while a scan
    // runs.
    [[nodiscard]] NodeTable *tableView() { return &m_tableView; }
    [[nodiscard]] QVPieChart *chart() const { return m_chart; }
    /// Borrowed, and forgotten when it goes away. Null at first, with everything else as it is with one.
    Q_INVOKABLE void setChart(slicewise::QVPieChart *chart);
    [[nodiscard]] const std::shared_ptr<SZANode> &root() const { return m_root; }
    void setRoot(std::shared_ptr<SZANode> root);
    /// In display order: row i and, below 8, slice i show element i.
    [[nodiscard]] const std::vector<SZANode *> &currentNodes() const { return m_currentNodes; }
    [[nodiscard]] bool hasCurrentSizeTimer() const { return m_currentSizeTimer != nullptr; }
    [[nodiscard]] bool doneScan() const { return m_doneScan; }
    void setDoneScan(bool doneScan);
    /// From the root (first) to the node that is shown (last); absent before the view is loaded.
    [[nodiscard]] const std::optional<std::vector<SZANode *>> &currentPath() const { return m_currentPath; }
    void setCurrentPath(std::optional<std::vector<SZANode *>> path);
    /// Of the last pick, until it is taken back.
    [[nodiscard]] const std::optional<IndexPath> &lastPath() const { return m_lastPath; }
    /// The device's capacity in bytes. Of a root screen: at first of the file systems that hold
    /// "/private/var" and "/", once for two places on one; after the scan of all that it entered.
    [[nodiscard]] std::int64_t diskSize() const { return m_diskSize; }
    /// The text of the overlay over the chart; absent: none is shown.
    [[nodiscard]] const std::optional<QString> &scanHUD() const { return m_scanHUD; }
    [[nodiscard]] QString scanHUDText() const { return m_scanHUD.value_or(QString()); }
    [[nodiscard]] SZANavItem *navigationItem() { return &m_navigationItem; }
    [[nodiscard]] SZANavigationController *navigationController() const { return m_navigationController; }
    /// Set by the stack that the screen is in; outlives its screens.
    void setNavigationController(SZANavigationController *navigationController);
    [[nodiscard]] bool isChartUserInteractionEnabled() const { return m_chartUserInteractionEnabled; }

    /// What the scan's progress does each two seconds.
    void updateCurrentSize();
    /// Fills chart, table and subtitle with a node's children.
    void updateDataWithNode(SZANode &node);
    /// With the node that is shown.
    void updateData();

    [[nodiscard]] int tableViewNumberOfRowsInSection(int section) override;
    [[nodiscard]] SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) override;
    [[nodiscard]] std::optional<IndexPath> tableViewWillSelectRowAtIndexPath(
        const IndexPath &indexPath) override;
    void tableViewDidSelectRowAtIndexPath(const IndexPath &indexPath) override;

    [[nodiscard]] unsigned numberOfSlicesInPieChart(QVPieChart &chart) override;
    [[nodiscard]] double pieChartValueForSliceAtIndex(QVPieChart &chart, unsigned index) override;
    [[nodiscard]] OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart &chart,
                                                                       unsigned index) override;
    [[nodiscard]] OptionalAnswer<std::optional<QString>> pieChartTextForSliceAtIndex(QVPieChart &chart,
                                                                                     unsigned index) override;
    /// Always no: a slice is picked by way of its row.
    [[nodiscard]] bool pieChartWillSelectSliceAtIndex(QVPieChart &chart, unsigned index) override;

    /// The slice has moved out: shows the node that was picked.
    void animationEnded(SZANode &node);

    /// The bar's button at the right.
    Q_INVOKABLE void rightBarButtonTapped();

    [[nodiscard]] SZAViewController *documentInteractionControllerViewControllerForPreview() { return this; }
    Q_INVOKABLE void documentInteractionControllerDidEndPreview();
    Q_INVOKABLE void documentInteractionControllerDidDismissOpenInMenu();
    Q_INVOKABLE void documentInteractionControllerDidDismissOptionsMenu();

Q_SIGNALS:
    void doneScanChanged();
    void scanHUDChanged();
    void chartUserInteractionEnabledChanged();
    void rightBarButtonPressed();
    // What is to be shown of a file that was picked: its path on the device as bytes, and the name of its
    // row.
    void previewRequested(const QByteArray &filename, const QString &name);
    void openInMenuRequested(const QByteArray &filename, const QString &name);
    void optionsMenuRequested(const QByteArray &filename, const QString &name);

private:
    void setUpChart();
    void showChild();
    void startScan();
    void measureDisk();
    void beginBackgroundTask();
    void endBackgroundTask();
    void scanFinished();
    void setScanHUD(std::optional<QString> text);
    [[nodiscard]] std::optional<BarButtonItem> rightBarButton() const;
    void setSubtitleForNode(const SZANode &node);

    [[nodiscard]] bool isRestSlice(unsigned index) const;
    [[nodiscard]] UIColor colorForSlice(std::size_t index) const;

    void presentFile(const SZANode &node, const std::string &filename);
    void drillInto(SZANode &node, int row);
    void documentClosed();
    void setUserInteractionEnabled(bool enabled);

    BrowserServices m_services;
    NodeTable m_tableView;
    QPointer<QVPieChart> m_chart;
    std::shared_ptr<SZANode> m_root;
    std::vector<SZANode *> m_currentNodes;
    std::shared_ptr<SZANode> m_treeOfCurrentNodes; ///< keeps them, where the root is another one by now
    std::unique_ptr<RunningTimer> m_currentSizeTimer;
    bool m_doneScan = false;
    std::optional<std::vector<SZANode *>> m_currentPath;
    std::optional<IndexPath> m_lastPath;
    std::int64_t m_diskSize = 0;
    std::optional<QString> m_scanHUD;
    std::optional<BackgroundTasks::Identifier> m_backgroundTask;
    SZANavItem m_navigationItem;
    SZANavigationController *m_navigationController = nullptr;
    std::unique_ptr<RunningTimer> m_pushTimer; ///< between a pick and the push
    bool m_chartUserInteractionEnabled = true;
    bool m_isViewLoaded = false;
    std::unique_ptr<RootScan> m_scan;
};

} // namespace slicewise
