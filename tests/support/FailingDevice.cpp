#include "tests/support/FailingDevice.h"

#include <algorithm>
#include <utility>

namespace slicewise {

class FailingDevice::Reader final : public DirectoryReader {
public:
    explicit Reader(const FailingDevice &device) : m_device(device), m_wrapped(device.m_wrapped.makeReader())
    {}

    Result<FileIdentity> open(const std::string &path) override
    {
        m_path = path;
        m_stretches = 0;
        if (const int error = m_device.beforeOpen(path); error != 0) {
            return ErrorNumber{error};
        }
        return m_wrapped->open(path);
    }

    FileSystem fileSystem() override { return m_wrapped->fileSystem(); }

    Result<Progress> next(EntryChunk &chunk) override
    {
        const Result<Progress> answer = m_wrapped->next(chunk);
        failSizes(chunk);
        const auto failing = m_device.m_readings.find(m_path);
        if (failing == m_device.m_readings.end() || !answer) {
            return answer;
        }
        const Reading &reading = failing->second;
        if (m_stretches++ < reading.where.afterStretches && *answer == Progress::More) {
            return answer;
        }
        cut(chunk, reading.where.entriesOfTheNextOne);
        return ErrorNumber{reading.error};
    }

private:
    void failSizes(EntryChunk &chunk) const
    {
        if (m_device.m_sizes.empty()) {
            return;
        }
        const std::string front = m_path == "/" ? m_path : m_path + "/";
        for (std::size_t i = 0; i < chunk.size(); ++i) {
            const auto failing = m_device.m_sizes.find(front + std::string(chunk.name(chunk.entries()[i])));
            if (failing != m_device.m_sizes.end()) {
                chunk.setSize(i, 0);
                chunk.addFailure(i, failing->second);
            }
        }
    }

    static void cut(EntryChunk &chunk, std::size_t count)
    {
        EntryChunk front;
        for (std::size_t i = 0; i < std::min(count, chunk.size()); ++i) {
            const EntryChunk::Entry &entry = chunk.entries()[i];
            front.append(chunk.name(entry), entry.type, entry.sizeBytes);
        }
        for (const EntryChunk::Failure &failure : chunk.failures()) {
            if (failure.entry < front.size()) {
                front.addFailure(failure.entry, failure.error);
            }
        }
        chunk = std::move(front);
    }

    const FailingDevice &m_device;
    std::unique_ptr<DirectoryReader> m_wrapped;
    std::string m_path;
    std::size_t m_stretches = 0;
};

class FailingDevice::File final : public ReadableFile {
public:
    File(const FailingDevice &device, std::string_view path, std::unique_ptr<ReadableFile> wrapped)
        : m_device(device), m_path(path), m_wrapped(std::move(wrapped))
    {}

    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override
    {
        if (const auto hooks = m_device.m_hooksOfReadings.find(m_path);
            hooks != m_device.m_hooksOfReadings.end()) {
            for (const Hook &hook : hooks->second) {
                hook(m_path);
            }
        }
        const auto failing = m_device.m_fileReadings.find(m_path);
        if (failing != m_device.m_fileReadings.end() && offset + into.size() > failing->second.offset) {
            return ErrorNumber{failing->second.error};
        }
        return m_wrapped->readAt(offset, into);
    }

    [[nodiscard]] Result<std::uint64_t> sizeBytes() const override { return m_wrapped->sizeBytes(); }

    Result<bool> lockShared(std::uint64_t offset, std::uint64_t length) override
    {
        const auto failing = m_device.m_fileLocks.find(m_path);
        if (failing != m_device.m_fileLocks.end()) {
            return ErrorNumber{failing->second};
        }
        return m_wrapped->lockShared(offset, length);
    }

    void unlock(std::uint64_t offset, std::uint64_t length) override { m_wrapped->unlock(offset, length); }

private:
    const FailingDevice &m_device;
    std::string m_path;
    std::unique_ptr<ReadableFile> m_wrapped;
};

class FailingDevice::Resolver final : public PathResolver {
public:
    explicit Resolver(const FailingDevice &device)
        : m_device(device), m_wrapped(device.m_wrapped.makeResolver())
    {}

    Result<std::string> resolve(std::string_view path) override
    {
        const auto failing = m_device.m_resolves.find(path);
        if (failing != m_device.m_resolves.end()) {
            return ErrorNumber{failing->second};
        }
        return m_wrapped->resolve(path);
    }

private:
    const FailingDevice &m_device;
    std::unique_ptr<PathResolver> m_wrapped;
};

class FailingDevice::FailingRemover final : public Remover {
public:
    explicit FailingRemover(FailingDevice &device)
        : m_device(device), m_wrapped(device.m_changeable->makeRemover())
    {}

    Result<std::uint64_t> remove(std::string_view path) override
    {
        {
            const std::lock_guard lock(m_device.m_mutex);
            m_device.m_removed.emplace_back(path);
        }
        for (const Hook &hook : m_device.m_hooksOfRemovals) {
            hook(std::string(path));
        }
        const auto failing = m_device.m_removes.find(path);
        if (failing != m_device.m_removes.end()) {
            return ErrorNumber{failing->second};
        }
        return m_wrapped->remove(path);
    }

private:
    FailingDevice &m_device;
    std::unique_ptr<Remover> m_wrapped;
};

void FailingDevice::failOpen(const std::string &path, int error)
{
    m_opens[path] = error;
}

void FailingDevice::failReading(const std::string &path, Break where, int error)
{
    m_readings[path] = {.where = where, .error = error};
}

void FailingDevice::failSize(const std::string &path, int error)
{
    m_sizes[path] = error;
}

void FailingDevice::failResolve(const std::string &path, int error)
{
    m_resolves[path] = error;
}

void FailingDevice::failOpenFile(const std::string &path, int error)
{
    m_fileOpens[path] = error;
}

void FailingDevice::failReadAt(const std::string &path, std::uint64_t offset, int error)
{
    m_fileReadings[path] = {.offset = offset, .error = error};
}

void FailingDevice::failLock(const std::string &path, int error)
{
    m_fileLocks[path] = error;
}

void FailingDevice::failRemove(const std::string &path, int error)
{
    m_removes[path] = error;
}

void FailingDevice::runBeforeOpen(const std::string &path, Hook hook)
{
    m_hooks[path].push_back(std::move(hook));
}

void FailingDevice::runBeforeEachOpen(Hook hook)
{
    m_hooksOfAll.push_back(std::move(hook));
}

void FailingDevice::runBeforeReadAt(const std::string &path, Hook hook)
{
    m_hooksOfReadings[path].push_back(std::move(hook));
}

void FailingDevice::runBeforeEachRemoval(Hook hook)
{
    m_hooksOfRemovals.push_back(std::move(hook));
}

std::vector<std::string> FailingDevice::removals() const
{
    const std::lock_guard lock(m_mutex);
    return m_removed;
}

std::vector<std::string> FailingDevice::opened() const
{
    const std::lock_guard lock(m_mutex);
    return m_opened;
}

int FailingDevice::beforeOpen(const std::string &path) const
{
    {
        const std::lock_guard lock(m_mutex);
        m_opened.push_back(path);
    }
    for (const Hook &hook : m_hooksOfAll) {
        hook(path);
    }
    if (const auto hooks = m_hooks.find(path); hooks != m_hooks.end()) {
        for (const Hook &hook : hooks->second) {
            hook(path);
        }
    }
    const auto failing = m_opens.find(path);
    return failing == m_opens.end() ? 0 : failing->second;
}

std::unique_ptr<DirectoryReader> FailingDevice::makeReader() const
{
    return std::make_unique<Reader>(*this);
}

Result<FileStatus> FailingDevice::status(std::string_view path) const
{
    if (const auto failing = m_sizes.find(path); failing != m_sizes.end()) {
        return ErrorNumber{failing->second};
    }
    return m_wrapped.status(path);
}

Result<std::string> FailingDevice::resolve(std::string_view path) const
{
    if (const auto failing = m_resolves.find(path); failing != m_resolves.end()) {
        return ErrorNumber{failing->second};
    }
    return m_wrapped.resolve(path);
}

Result<FileSystem> FailingDevice::fileSystem(std::string_view path) const
{
    return m_wrapped.fileSystem(path);
}

std::vector<Mount> FailingDevice::mounts() const
{
    return m_wrapped.mounts();
}

Result<std::unique_ptr<ReadableFile>> FailingDevice::openFile(std::string_view path) const
{
    if (const auto failing = m_fileOpens.find(path); failing != m_fileOpens.end()) {
        return ErrorNumber{failing->second};
    }
    Result<std::unique_ptr<ReadableFile>> file = m_wrapped.openFile(path);
    if (!file) {
        return file;
    }
    return std::unique_ptr<ReadableFile>(std::make_unique<File>(*this, path, std::move(file).value()));
}

Result<std::vector<std::string>> FailingDevice::entryNames(std::string_view path) const
{
    return m_wrapped.entryNames(path);
}

Result<std::string> FailingDevice::hostPath(std::string_view path) const
{
    return m_wrapped.hostPath(path);
}

Result<std::string> FailingDevice::followedOnHost(std::string_view path) const
{
    if (const auto failing = m_resolves.find(path); failing != m_resolves.end()) {
        return ErrorNumber{failing->second};
    }
    return m_wrapped.followedOnHost(path);
}

std::unique_ptr<PathResolver> FailingDevice::makeResolver() const
{
    return std::make_unique<Resolver>(*this);
}

std::unique_ptr<Remover> FailingDevice::makeRemover()
{
    return m_changeable != nullptr ? std::make_unique<FailingRemover>(*this) : Device::makeRemover();
}

} // namespace slicewise
