// The textures of a view, one for each layer of the tree, with their threads.
#pragma once

#include "display/visiblelayers.h"
#include "model/layerroot.h"

#include <QOpenGLTexture>

#include <algorithm>
#include <map>
#include <memory>

// Texture is a TextureThread. GUI thread; where OpenGL objects go, with the view's context current.
template<class Texture>
class LayerTextures
{
public:
    struct Record
    {
        std::unique_ptr<Texture> texture;
        // The block last uploaded, from which the OpenGL texture is made again in a new context.
        typename Texture::BlockPtr currentData;
        std::unique_ptr<QOpenGLTexture> glTexture;
        bool shown = false; // in the picture since the last upload pass
    };
    using Map = std::map<ILayerPtr, Record>;

    [[nodiscard]] auto begin() { return m_records.begin(); }
    [[nodiscard]] auto end() { return m_records.end(); }
    [[nodiscard]] auto begin() const { return m_records.begin(); }
    [[nodiscard]] auto end() const { return m_records.end(); }
    // Null for a layer that is not in the tree.
    [[nodiscard]] const Record* find(const ILayerPtr& layer) const
    {
        const auto found = m_records.find(layer);
        return found == m_records.end() ? nullptr : &found->second;
    }

    // One record for each layer and region of the tree, and for the preview of a tool: those known stay,
    // `make(layer)` gives the texture of a new one. The others are returned, to go in the context of the
    // view.
    template<class Make>
    [[nodiscard]] Map follow(const LayerRoot& root, const Make& make)
    {
        Map kept;
        for (const LayerInView& entry : layersInPicture(root)) {
            const auto known = m_records.find(entry.layer);
            if (known == m_records.end()) {
                kept[entry.layer].texture = make(entry.layer);
                continue;
            }
            kept[entry.layer] = std::move(known->second);
            m_records.erase(known);
        }
        m_records.swap(kept);
        return kept;
    }

    // The upload pass: layers that are seen in `view` ask for their picture and upload the newest that
    // is there, without waiting; the others give up their thread and their textures.
    template<class Request, class Upload>
    void update(const LayerRoot& root, const Range& view, const Request& request, const Upload& upload)
    {
        for (const LayerInView& entry : layersInPicture(root)) {
            const auto found = m_records.find(entry.layer);
            if (found == m_records.end())
                continue; // inserted since the last LayerRootChange
            Record& record = found->second;
            record.shown = entry.visible && !entry.layer->isEmpty() &&
                           !entry.layer->range(true).intersected(view).isEmpty();
            if (!record.shown) {
                release(record);
                continue;
            }
            request(*record.texture);
            if (auto newest = record.texture->takeNewest()) {
                record.currentData = std::move(newest);
                upload(record);
            }
        }
    }

    // Of the layers that are seen and are, or lie in, `layer`; all for null.
    template<class Call>
    void forEachShown(const ILayerPtr& layer, const Call& call)
    {
        for (auto& [own, record] : m_records)
            if (record.shown && (!layer || own == layer || layer->contains(own, true)))
                call(*record.texture);
    }

    // The context is lost, or there is a new one.
    void dropGlTextures()
    {
        for (auto& [layer, record] : m_records)
            record.glTexture.reset();
    }
    template<class Upload>
    void uploadAgain(const Upload& upload)
    {
        for (auto& [layer, record] : m_records)
            if (record.currentData)
                upload(record);
    }

    // Whether a picture is still being made, or waits for a repaint.
    [[nodiscard]] bool isOutstanding() const
    {
        return std::any_of(m_records.begin(), m_records.end(),
                           [](const auto& entry) { return entry.second.texture->isOutstanding(); });
    }

private:
    static void release(Record& record)
    {
        if (record.currentData || record.texture->isRunning())
            record.texture->clean();
        record.glTexture.reset();
        record.currentData.reset();
    }

    Map m_records;
};
