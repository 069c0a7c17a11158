// From files to new layers of an open document.
#pragma once

#include "projectfiles/fileimport.h"
#include "projectfiles/flowhost.h"

#include <cstdint>
#include <vector>

#include <QStringList>

// Reads files one after the other as new layers above the active one, each growing in the views while it
// loads, and makes one state "Import" of them all. A file that fails, or that the user does not want
// converted, is left out after its box; a cancel takes all of them back. GUI thread; runs the event loop.
class ImportFlow
{
public:
    // The document must be the one in front.
    ImportFlow(const FlowHost& host, const ProjectPtr& project, FileImport::Source source);

    // The layers start at sample point `start`. False when none came in; everything is as before then.
    bool run(const QStringList& paths, int64_t start);

private:
    enum class Outcome { Added, Refused, Cancelled };

    Outcome add(const QString& path, int64_t start, const QString& words);
    void insert(const LayerPtr& layer);
    void remove(const LayerPtr& layer, const ILayerPtr& active);
    void showWhole(bool tell);
    void takeBack();
    void finish(int64_t start);

    const FlowHost& m_host;
    ProjectPtr m_project;
    FileImport::Source m_source;
    SamplingFormat m_formatBefore; // a document without layers takes that of the first file
    ILayerPtr m_activeBefore;
    Area m_areaBefore;
    bool m_sawWhole; // the view follows what comes in
    std::vector<ImportedFile> m_files;
};
