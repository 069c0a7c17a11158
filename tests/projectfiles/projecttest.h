// What the tests of project files share: documents with everything in them, and when two are alike.
#pragma once

#include "projectfiles/projectio.h"

#include <cstdint>
#include <random>

#include <QBuffer>
#include <QByteArray>

namespace projecttest {

// A document of any format from 1 to 64 channels, real or complex, with nested groups, empty layers,
// names in several scripts, markers, tags and settings unlike the defaults.
[[nodiscard]] ProjectPtr randomProject(uint32_t seed);
// One layer of `samples` values, one group with nothing in it: a few hundred bytes.
[[nodiscard]] ProjectPtr smallProject();
// One group in another, `depth` of them, the innermost holding a layer.
[[nodiscard]] ProjectPtr nestedProject(int depth);

// Fails the running test for every field that project files store and in which `read` is not like
// `saved`. The frame rate must be the tempo.
void expectSame(const Project& saved, const Project& read);

[[nodiscard]] QByteArray contentOf(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);
// Through both writers, which must succeed.
[[nodiscard]] QByteArray binaryOf(const Project& project);
void saveXml(const Project& project, const QString& path, SampleFiles samples = SampleFiles::Copy);

// Each file and folder below `folder` with its size and time of change: nothing was touched when two
// such lists are the same.
[[nodiscard]] QStringList stateOf(const QString& folder);

} // namespace projecttest
