#include "platform/media/ApeTag.h"

#include "platform/media/TagText.h"

#include <apetag.h>
#include <taglib.h>
#include <tfile.h>
#include <tiostream.h>

#include <algorithm>
#include <limits>

namespace platform {

namespace {

// The numbers of a stream, which TagLib 2 widened to the system's own for large files.
#if TAGLIB_MAJOR_VERSION >= 2
using Offset = TagLib::offset_t;
using Start = TagLib::offset_t;
using Length = std::size_t;
#else
using Offset = long;
using Start = unsigned long;
using Length = unsigned long;
#endif

// A ByteReader as TagLib sees a file: it may only be read, and within the reader's bounds.
class ReaderStream : public TagLib::IOStream {
  public:
    explicit ReaderStream(ByteReader& file) : file_(file) {}

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(Length length) override {
        const qint64 wanted = std::min<Length>(length, ByteReader::kBytes);
        const QByteArray bytes = file_.copy(position_, wanted);
        position_ += bytes.size();
        return {bytes.constData(), static_cast<unsigned>(bytes.size())};
    }
    void writeBlock(const TagLib::ByteVector&) override {}
    void insert(const TagLib::ByteVector&, Start, Length) override {}
    void removeBlock(Start, Length) override {}
    bool readOnly() const override { return true; }
    bool isOpen() const override { return true; }
    void seek(Offset offset, Position from) override {
        if (from == Current) offset += position_;
        if (from == End) offset += file_.size();
        position_ = std::max<Offset>(offset, 0);
    }
    Offset tell() const override { return position_; }
    Offset length() override { return file_.size(); }
    void truncate(Offset) override {}

  private:
    ByteReader& file_;
    Offset position_ = 0;
};

// A file without a format of its own: TagLib looks at the one tag it is asked for and nowhere else.
class TagFile : public TagLib::File {
  public:
    explicit TagFile(TagLib::IOStream* stream) : File(stream) {}
    TagLib::Tag* tag() const override { return nullptr; }
    TagLib::AudioProperties* audioProperties() const override { return nullptr; }
    bool save() override { return false; }
};

// Hands the tag that ends in `footer` to `use`.
template <typename Use>
void withTag(ByteReader& file, qint64 footer, const Use& use) {
    ReaderStream stream(file);
    TagFile tagFile(&stream);
    const TagLib::APE::Tag tag(&tagFile, footer);
    use(tag.itemListMap());
}

}  // namespace

void readApe(ByteReader& file, qint64 footer, Tags& tags) {
    withTag(file, footer, [&](const TagLib::APE::ItemListMap& items) {
        const auto add = [&](std::optional<QString>& text, const char* key) {
            const auto found = items.find(key);
            if (text || found == items.end() || found->second.type() != TagLib::APE::Item::Text)
                return;
            QStringList values;
            for (const TagLib::String& value : found->second.values())
                values += QString::fromStdWString(value.toWString());
            // TagLib shows what it can't decode as empty.
            if (const QString joined = joinedValues(values); !joined.isEmpty()) text = joined;
        };
        add(tags.title, "TITLE");
        add(tags.artist, "ARTIST");
        add(tags.album, "ALBUM");
        if (items.contains("COVER ART (FRONT)")) tags.picture = true;
    });
}

void readApeLoudness(ByteReader& file, qint64 footer, Loudness& loudness) {
    withTag(file, footer, [&](const TagLib::APE::ItemListMap& items) {
        for (const auto& [key, item] : items) {
            if (item.type() != TagLib::APE::Item::Text) continue;
            loudness.add(QString::fromStdWString(key.toWString()),
                         QString::fromStdWString(item.toString().toWString()));
        }
    });
}

std::optional<QByteArray> apePicture(ByteReader& file, qint64 footer) {
    std::optional<QByteArray> picture;
    withTag(file, footer, [&](const TagLib::APE::ItemListMap& items) {
        const auto found = items.find("COVER ART (FRONT)");
        if (found == items.end()) return;
        const TagLib::ByteVector data = found->second.binaryData();
        const QByteArray bytes(data.data(), static_cast<qsizetype>(data.size()));
        // A file name stands before the picture, a NUL between them.
        const qsizetype nul = bytes.indexOf('\0');
        if (nul >= 0) picture = pictureOfBytes(bytes.sliced(nul + 1));
    });
    return picture;
}

}  // namespace platform
