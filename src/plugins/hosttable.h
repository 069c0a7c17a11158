// The services that the host lends to every plug-in.
#pragma once

#include "model/ilayer.h"
#include "model/types/marker.h"
#include "model/types/matrix.h"
#include "model/types/samplingformat.h"
#include "spectral/primitives/iresampler.h"

#include <cstdint>

#include <QByteArray>
#include <QList>
#include <QString>

class QWidget;

// 34 function pointers, in the order that plug-ins are compiled against: a new one goes to the end.
// The host fills the table before it calls anything else on a plug-in, so a plug-in links nothing
// of the host. No entry is ever null.
//
// Vectors: single precision, 64-bit element counts of any size, `destination` may be one of the
// sources; nothing happens for a count below 1. Any thread. All other entries: GUI thread, except
// 16 to 22, 24, 26 and 27, which are pure functions of their arguments.
struct HostTable
{
    // 0: destination = source. The two must not overlap in part.
    void (*copy)(float* destination, const float* source, int64_t count) = nullptr;
    // 1: destination = 0.
    void (*zero)(float* destination, int64_t count) = nullptr;
    // 2: destination = a * b.
    void (*multiply)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 3: destination = source * constant, the constant rounded to a float first.
    void (*multiplyConstant)(float* destination, const float* source, double constant,
                             int64_t count) = nullptr;
    // 4: destination = a + b.
    void (*add)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 5: destination = source + constant.
    void (*addConstant)(float* destination, const float* source, float constant, int64_t count) = nullptr;
    // 6: destination = a - b.
    void (*subtract)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 7: destination += a * b: a mix with an envelope.
    void (*multiplyAdd)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 8: destination += source * constant: a mix with a gain.
    void (*multiplyAddConstant)(float* destination, const float* source, float constant,
                                int64_t count) = nullptr;
    // 9: destination = a / b.
    void (*divide)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 10: destination = the larger of a and b.
    void (*maximum)(float* destination, const float* a, const float* b, int64_t count) = nullptr;
    // 11: the largest absolute value; 0 for an empty vector.
    float (*maxAbs)(const float* source, int64_t count) = nullptr;
    // 12: the sum; 0 for an empty vector.
    float (*sum)(const float* source, int64_t count) = nullptr;
    // 13: each element becomes its absolute value, in place.
    void (*absolute)(float* vector, int64_t count) = nullptr;
    // 14: each element becomes its square root, in place; 0 for negative ones.
    void (*squareRoot)(float* vector, int64_t count) = nullptr;
    // 15: destination = the smaller of a and b. With 10 it limits.
    void (*minimum)(float* destination, const float* a, const float* b, int64_t count) = nullptr;

    // 16: every bit that has a name of its own in a ChannelsType, lowest first.
    QList<uint64_t> (*channelBits)(int32_t channelsType) = nullptr;
    // 17: number of set bits.
    int32_t (*channelCount)(uint64_t mask) = nullptr;
    // 18: the usual mask for a count of channels.
    uint64_t (*defaultChannelsMask)(int32_t channelsType, int32_t channels) = nullptr;
    // 19: byte i tells whether bit i is set: it is unless the byte is NUL, '0', '-' or a blank.
    // Bytes past the 64th do not count.
    uint64_t (*channelsMaskFromSigns)(const QByteArray& signs) = nullptr;
    // 20: the (index + 1)-th set bit as a bit value; 0 when there are fewer.
    uint64_t (*channelBit)(uint64_t mask, int32_t index) = nullptr;
    // 21, 22: long and short label of the index-th channel of a mask.
    QString (*channelLabel)(int32_t channelsType, uint64_t mask, int32_t index) = nullptr;
    QString (*channelShortLabel)(int32_t channelsType, uint64_t mask, int32_t index) = nullptr;

    // 23: asks the user for another format and the matrix that leads to it from the channels of the
    // one given. False: cancelled, both are as before.
    bool (*reformatDialog)(QWidget* parent, SamplingFormat& format, Matrix& matrix) = nullptr;
    // 24: the usual gains from the channels of one mask to those of another, both of audio. Empty
    // where a mask has no channel.
    Matrix (*defaultChannelMatrix)(uint64_t inputMask, uint64_t outputMask) = nullptr;
    // 25: lets the user edit such a matrix; one that does not fit the masks starts with the usual gains.
    // False: cancelled, or a mask without a channel; the matrix is as before.
    bool (*channelRemixerDialog)(QWidget* parent, uint64_t inputMask, uint64_t outputMask,
                                 Matrix& matrix) = nullptr;
    // 26: a converter of rate and channels, of high quality, that the caller owns and deletes. A matrix
    // without cells, or with zeros only, asks for the usual gains. Null when a format makes no sense or
    // the rates lie too far from each other (1 to 65536). Any thread.
    IResampler* (*createResampler)(const SamplingFormat& input, const SamplingFormat& output,
                                   const Matrix& matrix) = nullptr;
    // 27: the same from a format to itself: it copies, until its matrix is another one. Any thread.
    IResampler* (*createPlainResampler)(const SamplingFormat& format) = nullptr;

    // 28: writes all samples of a real layer as a WAV file: tag 1 (integers, clipped at full scale) with 8,
    // 16, 24 or 32 bits, tag 3 (floats) with 32 or 64. An old file stays whole until the new one is. False
    // on failure, with a line in the log; so are 29 to 31.
    bool (*writeWave)(const QString& path, const ILayerPtr& layer, int32_t tag, int32_t bits) = nullptr;
    // 29, 30: append marker chunks and LIST INFO to a WAV file that is there.
    bool (*appendMarkers)(const QString& path, const MarkerList& markers) = nullptr;
    bool (*appendMetaData)(const QString& path, const MetaDataList& tags) = nullptr;
    // 31: writes the samples of a WAV file into a layer of its rate and channel count, from sample
    // point `start` on.
    bool (*readWave)(const QString& path, const ILayerPtr& layer, int64_t start) = nullptr;
    // 32: appends the cue points of a WAV file with their labels and lengths, in file order. False
    // when the file cannot be opened or is no WAV; a damaged tail gives what stands before it.
    bool (*readMarkers)(const QString& path, MarkerList& markers) = nullptr;
    // 33: adds the LIST INFO tags of a WAV file. False as in 32.
    bool (*readMetaData)(const QString& path, MetaDataList& tags) = nullptr;
};

constexpr int hostTableEntries = 34;
static_assert(sizeof(HostTable) == hostTableEntries * sizeof(void (*)()));
