// The numbers of the selection in the options of the tools, shown and typed.
#include "addons/toolcases.h"
#include "model/modeltest.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QLineEdit>

using namespace modeltest;

TEST(SelectTools, TheNumbersOfTheSelectionStandInTheOptions)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(tool.plugin);
        ToolRig rig(tool.plugin, realFormat(1, rate));
        rig.hover(0.5, 0.5);
        for (const char* field : {"start", "end", "length", "low", "high"})
            EXPECT_EQ(rig.shown(field), QString());
        rig.selection = Selection();
        QPainterPath path;
        path.addRect(1000, 500, 3000, 1500);
        rig.selection.add(path, 0, 0, false);
        rig.tellContext();
        EXPECT_EQ(rig.shown("start"), rig.timeToString(1000));
        EXPECT_EQ(rig.shown("end"), rig.timeToString(4000));
        EXPECT_EQ(rig.shown("length"), rig.timeToString(3000));
        EXPECT_EQ(rig.shown("low"), rig.freqToString(500));
        EXPECT_EQ(rig.shown("high"), rig.freqToString(2000));
        rig.selection.clear();
        rig.tellContext();
        EXPECT_EQ(rig.shown("start"), QString());
    }
}

TEST(SelectTools, TypedNumbersMoveTheEdges)
{
    const struct
    {
        const char* field;
        const char* text;
        Area wanted;
    } rows[] = {
        {"start", "2000", {2000, 500, 2000, 1500}},    {"end", "9000", {1000, 500, 8000, 1500}},
        {"length", "100", {1000, 500, 100, 1500}},     {"low", "0", {1000, 0, 3000, 2000}},
        {"high", "7000.5", {1000, 500, 3000, 6500.5}}, {"high", "99999", {1000, 500, 3000, 7500}},
    };
    for (const ToolCase& tool : toolCases())
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(tool.plugin) + " " + row.field + " " + row.text);
            ToolRig rig(tool.plugin, realFormat(1, rate));
            QPainterPath path;
            path.addRect(1000, 500, 3000, 1500);
            rig.selection.add(path, 0, 0, false);
            const int asked = rig.requests();
            EXPECT_TRUE(rig.type(row.field, QLatin1String(row.text)));
            EXPECT_EQ(rig.requests(), asked + 1);
            const Area now = rig.selection.bounds();
            EXPECT_NEAR(now.x, row.wanted.x, 1e-3);
            EXPECT_NEAR(now.y, row.wanted.y, 1e-3);
            EXPECT_NEAR(now.width, row.wanted.width, 1e-3);
            EXPECT_NEAR(now.height, row.wanted.height, 1e-3);
        }
}

TEST(SelectTools, TypedNumbersThatMakeNoSelectionAreTakenBack)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    QPainterPath path;
    path.addRect(1000, 500, 3000, 1500);
    rig.selection.add(path, 0, 0, false);
    const Selection before = rig.selection;
    for (const auto& [field, text] :
         {std::pair("start", "4000"), std::pair("end", "10"), std::pair("length", "0"),
          std::pair("length", "-5"), std::pair("low", "3000"), std::pair("high", "1"),
          std::pair("start", "soon"), std::pair("low", "")}) {
        EXPECT_FALSE(rig.type(field, QLatin1String(text))) << field << " " << text;
        EXPECT_EQ(rig.selection, before);
        EXPECT_EQ(rig.shown("start"), rig.timeToString(1000));
        EXPECT_EQ(rig.shown("length"), rig.timeToString(3000));
        EXPECT_EQ(rig.shown("low"), rig.freqToString(500));
    }
    EXPECT_FALSE(rig.request()) << "served once";
}

TEST(SelectTools, WithoutASelectionTwoTimesMakeOneOverTheBand)
{
    ToolRig rig("selectmarquee", complexFormat(1, rate));
    EXPECT_FALSE(rig.type("start", QStringLiteral("2000")));
    EXPECT_TRUE(rig.selection.isEmpty());
    EXPECT_EQ(rig.shown("start"), rig.timeToString(2000));
    EXPECT_TRUE(rig.type("end", QStringLiteral("5000")));
    const Area bounds = rig.selection.bounds();
    EXPECT_EQ(bounds, (Area{2000, -8000, 3000, 16000}));
}

TEST(SelectTools, WhatIsBeingTypedIsNotOverwritten)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.select(0.2, 0.2, 0.5, 0.5);
    rig.hover(0.9, 0.9);
    auto* const start = rig.tool->optionsWidget()->findChild<QLineEdit*>(QStringLiteral("start"));
    start->setText(QStringLiteral("12"));
    start->setModified(true);
    rig.hover(0.8, 0.8);
    EXPECT_EQ(rig.shown("start"), QStringLiteral("12"));
}
