// Values to show in the example, and what the chart tells about its selection, as QML reads it.
#pragma once

#include "chart/QVPieChart.h"
#include "chart/QVPieChartDataSource.h"
#include "chart/QVPieChartDelegate.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <random>
#include <vector>

namespace slicewise {

class ExampleData : public QObject, public QVPieChartDataSource, public QVPieChartDelegate {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int count READ count WRITE setCount NOTIFY valuesChanged)
    Q_PROPERTY(bool named MEMBER m_named NOTIFY valuesChanged)
    Q_PROPERTY(bool coloured MEMBER m_coloured NOTIFY valuesChanged)
    Q_PROPERTY(bool allowed MEMBER m_allowed NOTIFY allowedChanged)
    Q_PROPERTY(QString lastCall READ lastCall NOTIFY lastCallChanged)

public:
    explicit ExampleData(QObject *parent = nullptr);

    [[nodiscard]] int count() const { return static_cast<int>(m_values.size()); }
    /// Values that are there stay, so that the chart keeps their slices.
    void setCount(int count);
    /// What the delegate heard last, as a text; empty before anything.
    [[nodiscard]] QString lastCall() const { return m_lastCall; }

    /// Becomes the data source and the delegate of a chart, which forgets it when it goes.
    Q_INVOKABLE void attach(slicewise::QVPieChart *chart);
    Q_INVOKABLE void shuffle();
    Q_INVOKABLE void insertAtFront();
    Q_INVOKABLE void removeFromFront();

    [[nodiscard]] unsigned numberOfSlicesInPieChart(QVPieChart &chart) override;
    [[nodiscard]] double pieChartValueForSliceAtIndex(QVPieChart &chart, unsigned index) override;
    [[nodiscard]] OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart &chart,
                                                                       unsigned index) override;
    [[nodiscard]] OptionalAnswer<std::optional<QString>> pieChartTextForSliceAtIndex(QVPieChart &chart,
                                                                                     unsigned index) override;

    [[nodiscard]] bool pieChartWillSelectSliceAtIndex(QVPieChart &chart, unsigned index) override;
    void pieChartDidSelectSliceAtIndex(QVPieChart &chart, unsigned index) override;
    void pieChartDidDeselectSliceAtIndex(QVPieChart &chart, unsigned index) override;

Q_SIGNALS:
    void valuesChanged();
    void allowedChanged();
    void lastCallChanged();

private:
    struct Slice {
        double value = 0;
        int number = 0; ///< stays with it wherever it goes: its name and its colour
    };

    [[nodiscard]] Slice makeSlice();
    void setLastCall(const QString &text);

    std::vector<Slice> m_values;
    std::mt19937 m_random;
    int m_made = 0;
    bool m_named = true;
    bool m_coloured = true;
    bool m_allowed = true;
    QString m_lastCall;
};

} // namespace slicewise
