#include "base/journal.h"

#include "base/bytes.h"
#include "base/checksum.h"
#include "base/journal_steps.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace Journal {

namespace {

enum class Part : std::uint8_t { Written, Moved };

// Where a path leads in the end, as far as it exists.
std::filesystem::path Resolved(const std::string& path) {
    std::error_code ignored;
    // A name alone that does not exist would stay without its folder.
    const std::filesystem::path full = std::filesystem::absolute(path, ignored);
    std::filesystem::path real = std::filesystem::weakly_canonical(full, ignored);
    return real.empty() ? std::filesystem::path(path) : real;
}

}

struct Change::State {
    State(Files::File opened, std::filesystem::path folder)
        : File(std::move(opened)), Folder(std::move(folder)), Writer(File, 0) {}

    // After an error there is no way on.
    int Put(const void* data, std::size_t bytes) {
        if (Error != 0) return Error;
        Sum = Checksum::Crc32(Sum, {static_cast<const std::byte*>(data), bytes});
        return Error = Writer.Write(data, bytes);
    }
    template <class T>
    int PutNumber(T value) {
        const T stored = Bytes::Little(value);
        return Put(&stored, sizeof stored);
    }
    int PutName(const std::string& name) {
        const int error = PutNumber(static_cast<std::uint16_t>(name.size()));
        return error == 0 ? Put(name.data(), name.size()) : error;
    }
    int PutKind(char kind, const std::string& name) {
        const int error = Put(&kind, sizeof kind);
        return error == 0 ? PutName(name) : error;
    }

    // The name of a step's file, which takes this part in the change.
    int Use(const std::string& path, Part part, std::string& name) {
        if (Error != 0) return Error;
        if (part == Part::Written && path == LastPath) {
            name = LastName;
            return 0;
        }
        const std::filesystem::path real = Resolved(path);
        name = real.filename().string();
        if (real.parent_path() != Folder) return Error = EXDEV;
        if (!IsBareName(name)) return Error = EINVAL;
        const auto [at, isNew] = Names.try_emplace(name, part);
        if (!isNew && (part == Part::Moved || at->second == Part::Moved)) return Error = EINVAL;
        if (Names.size() > NamesMax) return Error = E2BIG;
        if (part == Part::Written) {
            LastPath = path;
            LastName = name;
        }
        return 0;
    }

    int PutFiles() {
        for (const auto& [name, part] : Names) {
            std::int64_t length = 0;
            if (Error == 0) Error = PresentLength(Beside(File.Name, name), length);
            if (Error == 0 && length < 0 && MustExist.contains(name)) Error = ENOENT;
            if (Error == 0) (void)PutKind(KindFile, name);
            if (Error == 0) (void)PutNumber(static_cast<std::uint64_t>(length));
        }
        return Error;
    }

    // From the return on, the change is what the disk holds.
    int Decide() {
        const char end = KindEnd;
        if (PutFiles() == 0 && Put(&end, sizeof end) == 0) (void)PutNumber(Sum);
        if (Error == 0) Error = Writer.Finish();
        Complete = Error == 0;
        if (Error == 0) Error = Files::Flush(File);
        if (Error == 0) Error = Files::FlushFolder(File.Name);
        return Error;
    }

    Files::File File;
    std::filesystem::path Folder;
    Files::Writer Writer;
    std::uint32_t Sum = 0;
    int Error = 0;
    bool Complete = false; // as far as this program sees
    std::map<std::string, Part> Names;
    std::set<std::string> MustExist; // the sources of renames
    std::string LastPath, LastName;
};

std::string NameFor(const std::string& owner) {
    return Resolved(owner).string() + ".journal";
}

Change::~Change() {
    if (!Own) return;
    (void)Discard(Own->File);
    delete Own;
}

int Change::Begin(const std::string& owner) {
    if (Own) return EBUSY;
    const std::string path = NameFor(owner);
    Files::File file;
    int error = Acquire(file, path, Files::Mode::Keep);
    if (error != 0) return error == EWOULDBLOCK ? EBUSY : error;
    std::int64_t length = 0;
    error = Files::Length(file, length);
    if (error != 0) return error;
    if (length != 0) return EBUSY;
    Own = new State(std::move(file), std::filesystem::path(path).parent_path());
    (void)Own->Put(Magic.data(), Magic.size());
    return Own->PutNumber(Version);
}

int Change::Write(const std::string& path, std::int64_t position, std::span<const std::byte> bytes) {
    if (!Own || position < 0) return EINVAL;
    std::string name;
    if (Own->Use(path, Part::Written, name) != 0) return Own->Error;
    (void)Own->PutKind(KindWrite, name);
    (void)Own->PutNumber(static_cast<std::uint64_t>(position));
    (void)Own->PutNumber(std::uint64_t{bytes.size()});
    return Own->Put(bytes.data(), bytes.size());
}

int Change::SetLength(const std::string& path, std::int64_t length) {
    if (!Own || length < 0) return EINVAL;
    std::string name;
    if (Own->Use(path, Part::Written, name) != 0) return Own->Error;
    (void)Own->PutKind(KindLength, name);
    return Own->PutNumber(static_cast<std::uint64_t>(length));
}

int Change::Rename(const std::string& from, const std::string& to) {
    if (!Own) return EINVAL;
    std::string name, newName;
    if (Own->Use(from, Part::Moved, name) != 0) return Own->Error;
    if (Own->Use(to, Part::Moved, newName) != 0) return Own->Error;
    Own->MustExist.insert(name);
    (void)Own->PutKind(KindRename, name);
    return Own->PutName(newName);
}

int Change::Remove(const std::string& path) {
    if (!Own) return EINVAL;
    std::string name;
    if (Own->Use(path, Part::Moved, name) != 0) return Own->Error;
    return Own->PutKind(KindRemove, name);
}

int Change::Commit(bool& decided) {
    decided = false;
    if (!Own) return EINVAL;
    State* const own = std::exchange(Own, nullptr);
    int error = own->Decide();
    if (error != 0) {
        // A complete journal that cannot be taken back will be done.
        std::int64_t length = 0;
        const bool gone =
            Discard(own->File) == 0 || (PresentLength(own->File.Name, length) == 0 && length <= 0);
        decided = own->Complete && !gone;
    } else {
        bool begun = false;
        error = DoSteps(own->File, begun);
        // A change whose first step is refused is better given up than left to wait.
        const bool givenUp = error != 0 && !begun && Discard(own->File) == 0;
        decided = !givenUp;
        if (error == 0) error = Discard(own->File);
    }
    delete own;
    return error;
}

}
