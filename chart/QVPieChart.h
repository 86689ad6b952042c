// A pie chart: shows the values of a data source as slices, moves from one set of values to the next, and
// lets slices be selected by touch, mouse or keyboard.
//
// What a view with a frame would have is the item's geometry: the frame is the item's rectangle in its
// parent, the bounds are (0, 0, width, height). The pie view is a square inside the item; its own coordinates
// begin at its upper left corner, and slices lie in them. QML makes the chart as an archive would: until it
// is complete, its geometry is only taken over, and a labelFont that the QML file sets stays; sizes that
// follow from the geometry are best set in Component.onCompleted.
//
// Everything is used on the GUI thread; paint() may run on the render thread and reads nothing but a picture
// that was handed over while the GUI thread waited. While nothing moves no timer runs and nothing is painted.
// What lies outside the item's rectangle is not painted.
//
// Numbers: a property that is given no finite number keeps what it has; lengths beyond a million are a
// million; a negative pie radius is 0. Of the data source's numbers, one that is not finite counts as 0. A
// negative value counts in the sum with its sign; its slice ends before it begins and is empty. Values too
// large to be added are scaled down before, and no share is beyond a thousand million turns, however little
// the sum is. Of more than kMostSlices slices, those beyond are not asked for.
#pragma once

#include "chart/Clock.h"
#include "chart/PiePicture.h"
#include "chart/PieView.h"
#include "chart/QVPieChartDataSource.h"
#include "chart/QVPieChartDelegate.h"
#include "chart/SliceLayer.h"

#include <QColor>
#include <QFont>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace slicewise {

class SliceItem;

class QVPieChart : public QQuickPaintedItem, public ArcAnimationDelegate {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int selectedSliceIndex READ selectedSliceIndex NOTIFY selectionChanged)
    Q_PROPERTY(int focusedSliceIndex READ focusedSliceIndex NOTIFY focusedSliceIndexChanged)
    Q_PROPERTY(double startPieAngle READ startPieAngle WRITE setStartPieAngle NOTIFY startPieAngleChanged)
    Q_PROPERTY(double animationSpeed READ animationSpeed WRITE setAnimationSpeed NOTIFY animationSpeedChanged)
    Q_PROPERTY(QPointF pieCenter READ pieCenter WRITE setPieCenter NOTIFY pieCenterChanged)
    Q_PROPERTY(double pieRadius READ pieRadius WRITE setPieRadius NOTIFY pieRadiusChanged)
    Q_PROPERTY(QColor pieBackgroundColor READ pieBackgroundColor WRITE setPieBackgroundColor NOTIFY
                   pieBackgroundColorChanged)
    Q_PROPERTY(bool showLabel READ showLabel WRITE setShowLabel NOTIFY showLabelChanged)
    Q_PROPERTY(QFont labelFont READ labelFont WRITE setLabelFont NOTIFY labelFontChanged)
    Q_PROPERTY(QColor labelColor READ labelColor WRITE setLabelColor NOTIFY labelColorChanged)
    Q_PROPERTY(QColor labelShadowColor READ labelShadowColor WRITE setLabelShadowColor NOTIFY
                   labelShadowColorChanged)
    Q_PROPERTY(double labelRadius READ labelRadius WRITE setLabelRadius NOTIFY labelRadiusChanged)
    Q_PROPERTY(double selectedSliceStroke READ selectedSliceStroke WRITE setSelectedSliceStroke NOTIFY
                   selectedSliceStrokeChanged)
    Q_PROPERTY(double selectedSliceOffsetRadius READ selectedSliceOffsetRadius WRITE
                   setSelectedSliceOffsetRadius NOTIFY selectedSliceOffsetRadiusChanged)
    Q_PROPERTY(bool showPercentage READ showPercentage WRITE setShowPercentage NOTIFY showPercentageChanged)
    Q_PROPERTY(bool linear READ linear WRITE setLinear NOTIFY linearChanged)
    Q_PROPERTY(
        QString accessibleName READ accessibleName WRITE setAccessibleName NOTIFY accessibleNameChanged)

public:
    /// More than the pixels on the rim of any pie.
    static constexpr unsigned kMostSlices = 10000;

    /// In QML, or with a frame of no size.
    explicit QVPieChart(QQuickItem *parent = nullptr);
    explicit QVPieChart(const QRectF &frame, QQuickItem *parent = nullptr);
    QVPieChart(const QRectF &frame, const QPointF &center, double radius, QQuickItem *parent = nullptr);
    QVPieChart(const QVPieChart &) = delete;
    QVPieChart &operator=(const QVPieChart &) = delete;
    ~QVPieChart() override;

    /// Borrowed; forgotten when it is destroyed. Setting one does not reload.
    [[nodiscard]] QVPieChartDataSource *dataSource() const { return m_dataSource.get(); }
    void setDataSource(QVPieChartDataSource *dataSource);
    [[nodiscard]] QVPieChartDelegate *delegate() const { return m_delegate.get(); }
    void setDelegate(QVPieChartDelegate *delegate);
    /// Replaces time and frames. For a chart that has no slices yet.
    void setClock(std::shared_ptr<Clock> clock);

    [[nodiscard]] double startPieAngle() const { return m_startPieAngle; } ///< radians; 3/2 pi: at the top
    void setStartPieAngle(double angleRadians);
    [[nodiscard]] double animationSpeed() const { return m_animationSpeed; } ///< seconds; 0.5
    /// 0 and less is at once, more than a minute is a minute.
    void setAnimationSpeed(double seconds);
    /// In the pie view's coordinates, in which it always lies in the middle.
    [[nodiscard]] QPointF pieCenter() const { return m_pieCenter; }
    /// In the chart's coordinates: moves the pie view there.
    void setPieCenter(const QPointF &center);
    [[nodiscard]] double pieRadius() const { return m_pieRadius; } ///< 0.875 of half the smaller side
    /// Around the centre of the pie, which stays.
    void setPieRadius(double radius);
    [[nodiscard]] QColor pieBackgroundColor() const { return m_pieView.backgroundColor; } ///< transparent
    void setPieBackgroundColor(const QColor &color);
    [[nodiscard]] bool showLabel() const { return m_showLabel; } ///< true; seen at the next reload
    void setShowLabel(bool show);
    [[nodiscard]] QFont labelFont() const
    {
        return m_labelFont;
    } ///< bold, 20 pixels, again after each change of the frame
    void setLabelFont(const QFont &font);
    [[nodiscard]] QColor labelColor() const
    {
        return m_labelColor;
    } ///< white; of labels that are made from now on
    void setLabelColor(const QColor &color);
    [[nodiscard]] QColor labelShadowColor() const
    {
        return m_labelShadowColor;
    } ///< invalid: no shadow, as at first
    void setLabelShadowColor(const QColor &color);
    [[nodiscard]] double labelRadius() const
    {
        return m_labelRadius;
    } ///< the radius over the root of 2, rounded
    void setLabelRadius(double radius);
    [[nodiscard]] double selectedSliceStroke() const
    {
        return m_selectedSliceStroke;
    } ///< 3; stored, without effect
    void setSelectedSliceStroke(double width);
    /// How far a selected slice moves out. 0 and less: it does not.
    [[nodiscard]] double selectedSliceOffsetRadius() const { return m_selectedSliceOffsetRadius; }
    void setSelectedSliceOffsetRadius(double radius);
    [[nodiscard]] bool showPercentage() const { return m_showPercentage; } ///< true
    /// Relabels what is shown. Without showLabel, hides the first slice's label and leaves the rest alone.
    void setShowPercentage(bool show);
    [[nodiscard]] bool linear() const { return m_linear; } ///< false: arcs start and end gently
    void setLinear(bool linear);

    /// Asks the data source anew and moves the slices there; without one, nothing happens. Slices whose
    /// values stay are kept. Slices that are pulled out move back without a word to the delegate. Asked for
    /// from inside a reload, it runs once more after that; asked for from inside that one again, it is left
    /// out: a data source that always asks would never come to an end.
    Q_INVOKABLE void reloadData();
    /// A slice as it is before it has data, not in the chart.
    [[nodiscard]] std::shared_ptr<SliceLayer> createSliceLayer() const;
    void updateLabelForLayerValueStartAngleEndAngle(SliceLayer &layer, double value, double startAngle,
                                                    double endAngle);

    /// Brings outlines and labels to the angles that are on screen; called for each frame while arcs move.
    void updateTimerFired();
    void animationDidStart(const std::shared_ptr<const ArcAnimation> &animation) override;
    void animationDidStopFinished(const std::shared_ptr<const ArcAnimation> &animation,
                                  bool finished) override;
    /// The frame timer exists, which it does while arcs move.
    [[nodiscard]] bool hasAnimationTimer() const { return m_hasAnimationTimer; }
    [[nodiscard]] const std::unordered_set<std::shared_ptr<const ArcAnimation>> &animations() const
    {
        return m_animations;
    }

    /// -1: none. Stays when a tap beside the pie deselects.
    [[nodiscard]] int selectedSliceIndex() const { return m_selectedSliceIndex; }
    /// Touches, in the chart's coordinates: highlight what lies there; at the end, select or deselect it.
    void touchesBeganWithEvent(const QPointF &touch);
    void touchesMovedWithEvent(const QPointF &touch);
    void touchesEndedWithEvent(const QPointF &touch);
    void touchesCancelledWithEvent();
    /// Raises the slice at a point of the pie view's coordinates and lowers the others; -1: none is there. A
    /// slice that is pulled out is found where it lies at rest.
    int getCurrentSelectedOnTouch(const QPointF &point);
    /// -1 is none, as the one selected before and the one to select.
    void notifyDelegateOfSelectionChangeFromTo(int previous, int index);
    /// Pull out and move back; an index without a slice is ignored.
    Q_INVOKABLE void setSliceSelectedAtIndex(int index);
    Q_INVOKABLE void setSliceDeselectedAtIndex(int index);

    /// The slice that the arrow keys have reached; -1 before any.
    [[nodiscard]] int focusedSliceIndex() const { return m_focusedSliceIndex; }
    void setFocusedSliceIndex(int index);
    /// As a touch on it would.
    void tapSliceAtIndex(int index);

    [[nodiscard]] const PieView &pieView() const { return m_pieView; }
    [[nodiscard]] const std::vector<std::shared_ptr<SliceLayer>> &sliceLayers() const
    {
        return m_sliceLayers;
    }
    /// What would be painted now, `scale` pixels for one of the item's.
    [[nodiscard]] PiePicture picture(double scale) const;
    void paint(QPainter *painter) override;

    /// An invisible child item for each slice, for those who read the screen. Made when first asked for.
    [[nodiscard]] const std::vector<std::unique_ptr<SliceItem>> &sliceItems();
    /// What they hear of the chart as a whole; empty at first.
    [[nodiscard]] QString accessibleName() const { return m_accessibleName; }
    void setAccessibleName(const QString &name);

Q_SIGNALS:
    // One for each, since a property that follows another one in QML must not hear of itself.
    void startPieAngleChanged();
    void animationSpeedChanged();
    void pieCenterChanged();
    void pieRadiusChanged();
    void pieBackgroundColorChanged();
    void showLabelChanged();
    void labelFontChanged();
    void labelColorChanged();
    void labelShadowColorChanged();
    void labelRadiusChanged();
    void selectedSliceStrokeChanged();
    void selectedSliceOffsetRadiusChanged();
    void showPercentageChanged();
    void linearChanged();
    void accessibleNameChanged();
    void selectionChanged();
    void focusedSliceIndexChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent *event) override;
    void touchUngrabEvent() override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    struct Reload;

    void setUp();
    void layOut();
    using Changed = void (QVPieChart::*)();
    template <typename Value> void change(Value &property, const Value &value, Changed changed);
    void changeLength(double &length, double value, Changed changed);
    void placePie(const QPointF &center);
    void resizePie(double radius);
    struct Lengths;
    [[nodiscard]] Lengths lengths() const;
    void tellChangedLengths(const Lengths &before);

    void reloadOnce();
    [[nodiscard]] bool readValues(Reload &reload);
    void fullPass(Reload &reload);
    void collapsePass();
    [[nodiscard]] std::shared_ptr<SliceLayer> chooseLayer(Reload &reload, unsigned index,
                                                          bool &growsOutOfStart);
    void colorLayer(SliceLayer &layer, unsigned index);
    void textLayer(SliceLayer &layer, unsigned index);
    void animateLayer(SliceLayer &layer, double startFrom, double endFrom, double start, double end);
    void removeLayers(const std::unordered_set<std::shared_ptr<SliceLayer>> &layers);
    void dropFocusBeyondEnd();

    [[nodiscard]] QString labelText(const SliceLayer &layer, double value) const;
    [[nodiscard]] QSizeF sizeOfText(const QString &text) const;

    [[nodiscard]] SliceLayer *layerAt(int index) const;
    [[nodiscard]] bool willSelect(int index);
    void didSelect(int index);
    void deselect(int index);
    void moveLayer(SliceLayer &layer, const QPointF &position);
    void setSelectedSliceIndex(int index);
    void clearHighlight();
    void finishTouch(const std::optional<QPointF> &end);
    [[nodiscard]] int nextSlice(int from, int step) const;

    void onFrame();
    void ensureFrames();
    [[nodiscard]] bool anythingMoves() const;
    void scheduleRepaint();
    [[nodiscard]] PiePicture::Label paintedLabel(const LabelLayer &layer, const QPointF &offset,
                                                 double scale) const;
    void sliceItemsChanged();
    void announceFocus();
    void becomeAccessible();

    std::shared_ptr<Clock> m_clock;
    std::shared_ptr<Transaction> m_transaction;
    std::vector<std::shared_ptr<SliceLayer>> m_sliceLayers;
    PieView m_pieView;
    int m_selectedSliceIndex = -1;
    int m_focusedSliceIndex = -1;
    bool m_hasAnimationTimer = false;
    std::unordered_set<std::shared_ptr<const ArcAnimation>> m_animations;
    Guarded<QVPieChartDataSource> m_dataSource;
    Guarded<QVPieChartDelegate> m_delegate;

    bool m_showLabel = true;
    bool m_showPercentage = true;
    bool m_linear = false;
    double m_startPieAngle = 4.71238898038469;
    double m_animationSpeed = 0.5;
    double m_pieRadius = 0;
    double m_labelRadius = 0;
    double m_selectedSliceStroke = 3;
    double m_selectedSliceOffsetRadius = 0;
    QFont m_labelFont;
    QColor m_labelColor = Qt::white;
    QColor m_labelShadowColor;
    QPointF m_pieCenter;

    bool m_isSetUp = false;
    bool m_isReloading = false;
    bool m_reloadAgain = false;
    bool m_isTouching = false;
    int m_touchId = -1; ///< of the finger that is followed
    std::vector<std::unique_ptr<SliceItem>> m_sliceItems;
    bool m_hasSliceItems = false;
    QString m_accessibleName;
    mutable ShadowCache m_shadows;
    PiePicture m_picture;        ///< the GUI thread's
    PiePicture m_paintedPicture; ///< the painting thread's
};

} // namespace slicewise
