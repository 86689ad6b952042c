// The rows of a text, or of any bytes, of any length, as a list.
//
// How many there are is known at once; what each reads as is read when it is asked for and arrives a moment
// later. Only so many are kept. GUI thread.
#pragma once

#include "preview/OnThread.h"
#include "preview/PieceSource.h"
#include "preview/ReadingThread.h"

#include <QAbstractListModel>
#include <QCache>
#include <QSet>
#include <QtQmlIntegration>

#include <memory>

namespace slicewise {

class PieceModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A document's")

public:
    enum Role { TextRole = Qt::UserRole + 1, OffsetsRole, CharactersRole, IsReadRole };
    static constexpr int kMostKept = 400;

    /// The thread is borrowed: it is there for as long as the model is asked. What it still reads when the
    /// model goes does not arrive.
    explicit PieceModel(ReadingThread &thread);
    PieceModel(const PieceModel &) = delete;
    PieceModel &operator=(const PieceModel &) = delete;
    ~PieceModel() override;

    /// Shows something else from now on; what was asked for before does not come any more.
    void setSource(std::shared_ptr<const PieceSource> source, std::shared_ptr<ReadableFile> file);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// How many rows are in memory.
    [[nodiscard]] int keptRows() const { return static_cast<int>(m_kept.size()); }

private:
    void ask(int row) const;
    void arrived(int row, int generation, const Piece &piece);

    ReadingThread &m_thread;
    std::shared_ptr<Mailbox> m_mailbox;
    std::shared_ptr<const PieceSource> m_source;
    std::shared_ptr<ReadableFile> m_file;
    int m_generation = 0; ///< of the source
    mutable QCache<int, Piece> m_kept{kMostKept};
    mutable QSet<int> m_asked;
};

} // namespace slicewise
