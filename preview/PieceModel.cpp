#include "preview/PieceModel.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace slicewise {

PieceModel::PieceModel(ReadingThread &thread) : m_thread(thread), m_mailbox(std::make_shared<Mailbox>(*this))
{}

PieceModel::~PieceModel()
{
    m_mailbox->close();
}

void PieceModel::setSource(std::shared_ptr<const PieceSource> source, std::shared_ptr<ReadableFile> file)
{
    beginResetModel();
    m_source = std::move(source);
    m_file = std::move(file);
    ++m_generation;
    m_kept.clear();
    m_asked.clear();
    endResetModel();
}

int PieceModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || m_source == nullptr) {
        return 0;
    }
    constexpr std::uint64_t kMost = std::numeric_limits<int>::max() - 1;
    return static_cast<int>(std::min(m_source->count(), kMost));
}

QVariant PieceModel::data(const QModelIndex &index, int role) const
{
    const bool isOurs = role == Qt::DisplayRole || (role >= TextRole && role <= IsReadRole);
    if (!isOurs || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const Piece *piece = m_kept.object(index.row());
    if (piece == nullptr) {
        ask(index.row());
        return role == IsReadRole ? QVariant(false) : QVariant(QString());
    }
    switch (role) {
    case IsReadRole:
        return true;
    case OffsetsRole:
        return piece->offsets;
    case CharactersRole:
        return piece->characters;
    default:
        return piece->text;
    }
}

QHash<int, QByteArray> PieceModel::roleNames() const
{
    return {{TextRole, "pieceText"},
            {OffsetsRole, "offsets"},
            {CharactersRole, "characters"},
            {IsReadRole, "isRead"}};
}

void PieceModel::ask(int row) const
{
    if (m_asked.contains(row)) {
        return;
    }
    m_asked.insert(row);
    auto *const self = const_cast<PieceModel *>(this); // what arrives changes it
    m_thread.ask(
        [self, mailbox = m_mailbox, row, generation = m_generation, source = m_source, file = m_file] {
            const Piece piece = source->read(static_cast<std::uint64_t>(row), *file);
            mailbox->post([self, row, generation, piece] { self->arrived(row, generation, piece); });
        },
        [this, row] { m_asked.remove(row); });
}

void PieceModel::arrived(int row, int generation, const Piece &piece)
{
    if (generation != m_generation) {
        return;
    }
    m_asked.remove(row);
    m_kept.insert(row, std::make_unique<Piece>(piece).release());
    Q_EMIT dataChanged(index(row), index(row));
}

} // namespace slicewise
