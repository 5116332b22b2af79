// Instance colour through the plug-in: the colour text forms that are
// accepted and refused, painting a branch or one instance, reading the
// colour back, and restoring the figures of an illustration.
#include <gtest/gtest.h>

#include "HostCalls.h"
#include "PluginSession.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/WorldControl.h"

namespace {

class ColourCommand : public support::SampleWorldTest {
protected:
    void Paint(std::vector<du::Symbol> ids, bool branch, const char* color) {
        session->Module().SetInstancesColor(ids, branch, color);
    }
    static unsigned int ColourOf(const std::string& idPath) {
        return devhost::ShapeOf("Model", idPath).color.GetAsHex();
    }
};

TEST_F(ColourCommand, EveryTextFormThatAHexadecimalReadingTakesIsAcceptedAndReadsBackInTheZeroZeroForm) {
    const std::string arm = "drone/frame/arm_1";
    const struct {
        const char* text;
        unsigned int value;
        const char* back;
    } accepted[] = {{"0x00ff0000", 0xff0000u, "0x00ff0000"}, {"ff0000", 0xff0000u, "0x00ff0000"},
                    {"  0X12AbCdEf", 0x12abcdefu, "0x0012abcdef"}, {"ff00zz80", 0xff00u, "0x00ff00"},
                    {"ff", 0xffu, "0x00ff"}, {"0", 0u, "0x000"}, {"ffffffff", 0xffffffffu, "0x00ffffffff"}};
    for (const auto& form : accepted) {
        Paint({arm.c_str()}, false, form.text);
        EXPECT_EQ(form.value, ColourOf(arm)) << form.text;
        EXPECT_EQ(form.back, session->Module().GetInstanceColor(arm.c_str()).str()) << form.text;
    }
    const auto calls = devhost::ShapeOf("Model", arm).colorCalls;
    ASSERT_FALSE(calls.empty());
    EXPECT_FALSE(calls.back().temporary);
    EXPECT_TRUE(calls.back().redraw);
    EXPECT_TRUE(cmdtest::CommandTraces().empty());
}

TEST_F(ColourCommand, TextWithoutDigitsOrBeyondThirtyTwoBitsIsRefusedWithItsTraceAndPaintsNothing) {
    Paint({"drone/frame/arm_1"}, false, "0x00102030");
    for (const char* refused : {"123456789", "zz", ""}) Paint({"drone/frame/arm_1", "drone/frame/arm_2"}, false, refused);
    session->Module().SetInstancesColor({"drone/frame/arm_2"}, false, du::Symbol());
    EXPECT_EQ(0x102030u, ColourOf("drone/frame/arm_1"));
    EXPECT_EQ((std::vector<std::string>{"3|OnSetInstancesColor - color is encoded incorrectly: 123456789",
                                        "3|OnSetInstancesColor - color is encoded incorrectly: zz",
                                        "3|OnSetInstancesColor - color is encoded incorrectly: ",
                                        "3|OnSetInstancesColor - color is encoded incorrectly: "}),
              cmdtest::CommandTraces());
}

TEST_F(ColourCommand, ABranchPaintsEveryShapeBelowWhileOneInstanceIsPaintedAloneAndUnknownIdpathsAreSkipped) {
    const unsigned int stator = ColourOf("drone/propulsion/motor_1/stator");
    Paint({"drone/propulsion/motor_1"}, false, "11223344");
    EXPECT_EQ(0x11223344u, ColourOf("drone/propulsion/motor_1"));
    EXPECT_EQ(stator, ColourOf("drone/propulsion/motor_1/stator"));

    Paint({"drone/nothing", "drone/propulsion/motor_2", "", "drone/propulsion/motor_3"}, true, "0x55667788");
    for (const char* painted : {"drone/propulsion/motor_2", "drone/propulsion/motor_2/stator",
                                "drone/propulsion/motor_2/rotor", "drone/propulsion/motor_3/stator",
                                "drone/propulsion/motor_3/rotor"})
        EXPECT_EQ(0x55667788u, ColourOf(painted)) << painted;
    EXPECT_FALSE(devhost::ShapeOf("Model", "drone/propulsion/motor_3").present);
    EXPECT_TRUE(session->Module().GetInstanceColor("drone/propulsion/motor_3").IsNull());
    EXPECT_TRUE(session->Module().GetInstanceColor("drone/nothing").IsNull());

    Paint({}, false, "ff");
    EXPECT_TRUE(cmdtest::CommandTraces().empty());
}

TEST_F(ColourCommand, OutsideAShapeViewNothingIsPaintedAndNoColourIsRead) {
    ASSERT_TRUE(devhost::ActivateView("Manual"));
    const unsigned int before = ColourOf("drone/frame/arm_1");
    Paint({"drone/frame/arm_1"}, false, "ff");
    EXPECT_EQ(before, ColourOf("drone/frame/arm_1"));
    EXPECT_TRUE(session->Module().GetInstanceColor("drone/frame/arm_1").IsNull());
    ASSERT_TRUE(devhost::ActivateView(""));
    EXPECT_TRUE(session->Module().GetInstanceColor("drone/frame/arm_1").IsNull());
}

TEST_F(ColourCommand, WithoutATreeBothTraceTheSettersWordsAndABadColourGoesUnreported) {
    devhost::UseWorldWithoutTree();
    Paint({"drone/frame/arm_1"}, false, "not a colour");
    EXPECT_TRUE(session->Module().GetInstanceColor("drone/frame/arm_1").IsNull());
    EXPECT_EQ((std::vector<std::string>{"3|OnSetInstancesColor - No tree\n", "3|OnSetInstancesColor - No tree\n"}),
              cmdtest::CommandTraces());
}

TEST_F(ColourCommand, FigureVisibilityIsRestoredOnAnIllustrationSceneOnly) {
    session->Module().RestoreInstancesVisibility();
    EXPECT_EQ(0u, devhost::CurrentContent()->RestoredFigureVisibility());
    EXPECT_FALSE(devhost::ShapeOf("Model", "drone/frame/fasteners/bolt_1").visible);

    session->Module().LoadAnnotationSet("Service steps");
    session->Settle();
    ASSERT_TRUE(devhost::ShapeOf("Service steps", "drone/propulsion/prop_2").present);
    EXPECT_FALSE(devhost::ShapeOf("Service steps", "drone/propulsion/prop_2").visible);
    session->Module().RestoreInstancesVisibility();
    EXPECT_EQ(1u, devhost::CurrentContent()->RestoredFigureVisibility());
    EXPECT_TRUE(devhost::ShapeOf("Service steps", "drone/propulsion/prop_2").visible);
}

}  // namespace
