#include "tags.h"

extern "C" {
#include <libavutil/dict.h>
}

namespace {

struct TagName
{
    const char* info;
    const char* common;
};

constexpr TagName names[] = {
    {"INAM", "title"},       {"IART", "artist"},     {"IPRD", "album"},     {"ITRK", "track"},
    {"ICRD", "date"},        {"IGNR", "genre"},      {"ICMT", "comment"},   {"ICOP", "copyright"},
    {"ISFT", "encoder"},     {"ITCH", "encoded_by"}, {"ILNG", "language"},  {"IMUS", "composer"},
    {"ISBJ", "description"}, {"IKEY", "keywords"},   {"IPUB", "publisher"},
};

// What containers say about themselves, and not about the recording.
constexpr const char* const technical[] = {"major_brand",  "minor_version", "compatible_brands",
                                           "handler_name", "vendor_id",     "duration"};

} // namespace

void tags::fromDictionary(const AVDictionary* dictionary, MetaDataList& out)
{
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX))) {
        QString key = QString::fromUtf8(entry->key);
        bool skip = false;
        for (const char* word : technical)
            skip = skip || qstricmp(entry->key, word) == 0;
        if (skip)
            continue;
        for (const TagName& name : names)
            if (qstricmp(entry->key, name.common) == 0)
                key = QLatin1String(name.info);
        if (!out.contains(key))
            out.insert(key, QString::fromUtf8(entry->value));
    }
}

void tags::toDictionary(const MetaDataList& in, AVDictionary** dictionary)
{
    for (auto i = in.constBegin(); i != in.constEnd(); ++i) {
        QByteArray key = i.key().size() == 4 ? QByteArray() : i.key().toUtf8();
        for (const TagName& name : names)
            if (i.key() == QLatin1String(name.info) && qstrcmp(name.common, "encoder") != 0)
                key = name.common;
        if (!key.isEmpty())
            av_dict_set(dictionary, key.constData(), i.value().toUtf8().constData(), 0);
    }
}
