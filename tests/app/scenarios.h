// What the program does in the tests that let it die or its system calls fail.
#pragma once

#include "promises.h"

namespace promises {

inline const Scenario working = {
    {QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"), QStringLiteral("save:@song.mvx"),
     QStringLiteral("close")},
    {QStringLiteral("open:@a.ramp"), QStringLiteral("edit:5"), QStringLiteral("save:@song.mvp"),
     QStringLiteral("import:@b.ramp"), QStringLiteral("insert"), QStringLiteral("save:@song.mvx"),
     QStringLiteral("crop"), QStringLiteral("undo"), QStringLiteral("save:@song.mvp")}};
inline const Scenario converting = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                                     QStringLiteral("save:@song.mvx"), QStringLiteral("close")},
                                    {QStringLiteral("open:@a.ramp"), QStringLiteral("import:@b.ramp"),
                                     QStringLiteral("format:12000"), QStringLiteral("edit:2"),
                                     QStringLiteral("duplicate"), QStringLiteral("save:@song.mvp")}};
// Edits that change samples where they lie, in a long layer.
inline const Scenario editing = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                                  QStringLiteral("save:@song.mvx"), QStringLiteral("close")},
                                 {QStringLiteral("open:@c.ramp"), QStringLiteral("scatter:3"),
                                  QStringLiteral("cut:100000"), QStringLiteral("scatter:4"),
                                  QStringLiteral("undo"), QStringLiteral("undo"), QStringLiteral("redo"),
                                  QStringLiteral("grow:5"), QStringLiteral("shrink"), QStringLiteral("undo"),
                                  QStringLiteral("scatter:6"), QStringLiteral("save:@song.mvp")}};
// Menu commands on two layers, of which some change both.
inline const Scenario rearranging = {
    {QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"), QStringLiteral("save:@song.mvx"),
     QStringLiteral("close")},
    {QStringLiteral("open:@a.ramp"), QStringLiteral("import:@b.ramp"), QStringLiteral("cut:5000"),
     QStringLiteral("deselect"), QStringLiteral("paste"), QStringLiteral("deletetime"),
     QStringLiteral("undo"), QStringLiteral("undo"), QStringLiteral("redo"), QStringLiteral("redo"),
     QStringLiteral("save:@song.mvp"), QStringLiteral("undo")}};
inline const Scenario recovering = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                                     QStringLiteral("save:@song.mvx"), QStringLiteral("import:@a.ramp"),
                                     QStringLiteral("insert"), QStringLiteral("open:@a.ramp"),
                                     QStringLiteral("edit:3")},
                                    {QStringLiteral("recover"), QStringLiteral("edit:9"),
                                     QStringLiteral("save:@song.mvp"), QStringLiteral("insert")}};

// Edits and saves in both forms.
inline const Scenario saving = {
    {QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"), QStringLiteral("save:@song.mvx"),
     QStringLiteral("close")},
    {QStringLiteral("open:@c.ramp"), QStringLiteral("scatter:3"), QStringLiteral("save:@song.mvp"),
     QStringLiteral("cut:100000"), QStringLiteral("undo"), QStringLiteral("insert"),
     QStringLiteral("import:@b.ramp"), QStringLiteral("grow:5"), QStringLiteral("save:@song.mvx"),
     QStringLiteral("scatter:6"), QStringLiteral("save:@song.mvp")}};

} // namespace promises
