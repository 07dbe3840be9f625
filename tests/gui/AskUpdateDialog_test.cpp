// SPDX-License-Identifier: MIT
#include "vrp/ui/AskUpdateDialog.h"

#include "tests/gui/DialogTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/update_prompt.h"

namespace {

class UpdatePrompt : public DialogTest
{
protected:
    /// The answer field after the prompt, with -1 in it before.
    int answerOf(const PreparedAnswers::Answer &answer)
    {
        m_run->updateAnswer = -1;
        const PreparedAnswers answers({answer});
        VrpsAskUpdate();
        return m_run->updateAnswer;
    }
};

TEST_F(UpdatePrompt, gives_the_answer_of_the_button_that_is_pressed)
{
    EXPECT_EQ(answerOf([](QWidget &dialog) { click(dialog, "yesButton"); }), 1);
    EXPECT_EQ(answerOf([](QWidget &dialog) { click(dialog, "noButton"); }), 0);
    EXPECT_EQ(answerOf([](QWidget &dialog) { click(dialog, "cancelButton"); }), 2);
}

TEST_F(UpdatePrompt, takes_enter_for_yes)
{
    EXPECT_EQ(answerOf([](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Return); }), 1);
    EXPECT_EQ(answerOf([](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Enter); }), 1);
}

TEST_F(UpdatePrompt, leaves_the_answer_alone_at_escape)
{
    EXPECT_EQ(answerOf([](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }), -1);
}

TEST_F(UpdatePrompt, has_its_texts_and_takes_configured_ones)
{
    expectTexts<AskUpdateDialog>({
        {"title", resource::dlgUpdateTitle, L"Varek print - update"},
        {"messageLabel", resource::dlgUpdateMessageText,
         L"A new version of the printer has been detected.\nDo you want to upgrade it now ?"},
        {"cancelButton", resource::dlgUpdateCancelText, L"Cancel"},
        {"noButton", resource::dlgUpdateNoText, L"No"},
        {"yesButton", resource::dlgUpdateYesText, L"Yes"},
    });
}

TEST_F(UpdatePrompt, has_the_common_frame_the_stated_size_and_cancel_alone_at_the_left)
{
    AskUpdateDialog dialog;
    expectFrame(dialog, "yesButton");
    EXPECT_EQ(dialog.minimumSize(), QSize(340, 100));
    dialog.show();
    expectButtonRow(dialog, "cancelButton", "noButton", "yesButton");
    configure(resource::dlgUpdatePosition, L"5,6");
    EXPECT_EQ(AskUpdateDialog().pos(), QPoint(5, 6));
}

} // namespace
