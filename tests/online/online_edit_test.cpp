#include "online/online_edit.h"
#include "support/testing.h"

namespace {

constexpr std::uint8_t Mean = 10, Equation = 27, Quotient = 32, Logarithm = 34, ZeroCrossing = 66;

// One method: 1 mean, 2 mean, 3 = f1 / f2, 4 = log f3, 5 a zero crossing of trace 2 with 3 points averaged,
// 6 an equation; two curves of a graph.
class Method : public testing::Test {
protected:
    Method() {
        if (!OnlineTree::New(Analysis)) std::abort();
        for (int i = 1; i <= 6; ++i) Add(i);
        OnlineEntry(&entries)[4] = Of()->OmGraphs[2].Entries;
        entries[0].EnXFunction = 1;
        entries[0].EnYFunction = 5;
        entries[1].EnXFunction = 2;
        entries[1].EnYFunction = 9;
        for (OnlineEntry& entry : entries) entry.EnActive = 1;
        Analysis.Changed = false;
    }
    void Add(int i) {
        if (!OnlineEdit::InsertFunction(Analysis, Of(), i)) std::abort();
        OnlineFunction& function = *OnlineTree::FunctionAt(Of(), i);
        Texts::ToField(function.OfName, std::string(1, static_cast<char>('a' + i - 1)));
        static constexpr struct {
            std::uint8_t Kind;
            std::int16_t A, B;
        } Rows[] = {{Mean, 5, 5},      {Mean, 0, 0},         {Quotient, 1, 2},
                    {Logarithm, 3, 5}, {ZeroCrossing, 3, 2}, {Equation, 0, 0}};
        const auto& row = Rows[i - 1];
        function.OfKind = row.Kind;
        function.OfArgA = row.A;
        function.OfArgB = row.B;
        if (row.Kind == Equation) Texts::ToField(function.OfEquation, "F[5]*f [ 2 ]-off[2]+F[9]");
    }
    OnlineMethod* Of() { return OnlineTree::CurrentMethod(Analysis); }

    // Names in order, each with what it computes with.
    std::string Picture() {
        std::string text;
        for (int i = 1; i <= Tree::ChildCount(Of()); ++i) {
            const OnlineFunction& function = *OnlineTree::FunctionAt(Of(), i);
            text += std::string(Texts::FromField(function.OfName)) + ":" + std::to_string(function.OfArgA) +
                    "," + std::to_string(function.OfArgB) +
                    std::string(Texts::FromField(function.OfEquation)) + " ";
        }
        for (const OnlineEntry& entry : Of()->OmGraphs[2].Entries)
            if (entry.EnXFunction || entry.EnYFunction)
                text += "(" + std::to_string(entry.EnXFunction) + "," + std::to_string(entry.EnYFunction) +
                        (entry.EnActive ? ")" : " off)");
        return text;
    }

    Messages::Recorder Said;
    OnlineAnalysis Analysis;
};

std::string NameAt(const OnlineAnalysis& analysis, int index) {
    return std::string(Texts::FromField(OnlineTree::MethodAt(analysis, index)->OmName));
}

std::string Order(const OnlineAnalysis& analysis) {
    std::string order;
    for (int i = 1; i <= OnlineTree::MethodCount(analysis); ++i) order += NameAt(analysis, i) + " ";
    return order + "@" + std::to_string(analysis.Current);
}

}

TEST_F(Method, WhatNamesFunctionsFollowsThem) {
    using namespace OnlineEdit;
    constexpr const char* Unmoved = "Moving of analysis function failed !\n";
    const struct {
        bool (*Do)(OnlineAnalysis&, OnlineMethod*);
        std::string After; // empty: refused, nothing has changed
        std::string Alert = "";
    } cases[] = {
        {[](auto& a, auto* m) { return InsertFunction(a, m, 1); },
         ":0,0 a:5,5 b:0,0 c:2,3 d:4,5 e:3,2 f:0,0F[6]*f [ 3 ]-off[2]+F[9] (2,6)(3,9)"},
        {[](auto& a, auto* m) { return InsertFunction(a, m, 8); }, "",
         "The analysis could not be changed: \n"},
        {[](auto& a, auto* m) { return CopyFunction(a, m, 3); },
         "a:5,5 b:0,0 c:1,2 d:3,5 e:3,2 f:0,0F[5]*f [ 2 ]-off[2]+F[9] c:1,2 (1,5)(2,9)"},
        {[](auto& a, auto* m) { return MoveFunction(a, m, 1, 2); },
         "b:0,0 a:5,5 c:2,1 d:3,5 e:3,2 f:0,0F[5]*f [ 1 ]-off[2]+F[9] (2,5)(1,9)"},
        {[](auto& a, auto* m) { return MoveFunction(a, m, 5, 1); },
         "e:3,2 a:5,5 b:0,0 c:2,3 d:4,5 f:0,0F[1]*f [ 3 ]-off[2]+F[9] (2,1)(3,9)"},
        // An operand behind its function, a function before its operand, and beyond the end.
        {[](auto& a, auto* m) { return MoveFunction(a, m, 1, 3); }, "", Unmoved},
        {[](auto& a, auto* m) { return MoveFunction(a, m, 4, 2); }, "", Unmoved},
        {[](auto& a, auto* m) { return MoveFunction(a, m, 1, 7); }, "", Unmoved},
        {[](auto& a, auto* m) { return DeleteFunction(a, m, 1); }, "", "Cannot delete first function.\n"},
        {[](auto& a, auto* m) { return DeleteFunction(a, m, 3); }, "",
         "Cannot delete function 3 \"c\": function 4 \"d\" computes with it.\n"},
        {[](auto& a, auto* m) { return DeleteFunction(a, m, 5); }, "",
         "Cannot delete function 5 \"e\": function 6 \"f\" computes with it.\n"},
        {[](auto& a, auto* m) { return DeleteFunction(a, m, 4); },
         "a:5,5 b:0,0 c:1,2 e:3,2 f:0,0F[4]*f [ 2 ]-off[2]+F[9] (1,4)(2,9)"},
        {[](auto& a, auto* m) { // what is drawn
             *OnlineTree::FunctionAt(m, 6)->OfEquation = '\0';
             return DeleteFunction(a, m, 5);
         },
         "a:5,5 b:0,0 c:1,2 d:3,5 f:0,0 (1,0 off)(2,9)"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.After + one.Alert);
        ASSERT_TRUE(OnlineEdit::CopyMethod(Analysis, 1)); // each case has its own
        Analysis.Current = OnlineTree::MethodCount(Analysis);
        Analysis.Changed = false;
        const std::string before = Picture();
        Said.Alerts.clear();
        const bool done = one.Do(Analysis, Of());
        EXPECT_EQ(done, !one.After.empty());
        EXPECT_EQ(Picture(), done ? one.After : before);
        EXPECT_EQ(Said.Alerts, one.Alert);
        EXPECT_EQ(Analysis.Changed, done);
    }
}

TEST_F(Method, AnEquationThatWouldNotFitStopsTheChange) {
    OnlineFunction& equation = *OnlineTree::FunctionAt(Of(), 6);
    Texts::ToField(equation.OfEquation, "F[9]" + std::string(59, '1'));
    for (int i = 7; i <= 9; ++i) ASSERT_TRUE(OnlineEdit::InsertFunction(Analysis, Of(), i));
    EXPECT_FALSE(OnlineEdit::InsertFunction(Analysis, Of(), 8)); // the ninth becomes the tenth
    EXPECT_EQ(Said.Alerts, "Moving of analysis function failed !\n");
    EXPECT_EQ(Tree::ChildCount(Of()), 9);
    EXPECT_EQ(equation.OfEquation[3], ']');
}

TEST(Methods, KeepTheirNamesApart) {
    using namespace OnlineEdit;
    Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::New(analysis) && RenameMethod(analysis, 1, "Peaks"));
    ASSERT_TRUE(AppendMethod(analysis) && AppendMethod(analysis) && CopyMethod(analysis, 1));
    EXPECT_EQ(Order(analysis), "Peaks OA-1 OA-2 Peaks-2 @3");
    EXPECT_EQ(said.Questions, ""); // there are no settings to copy
    for (const char* const taken : {"Peaks", ""}) EXPECT_FALSE(RenameMethod(analysis, 2, taken));
    EXPECT_TRUE(RenameMethod(analysis, 2, "OA-1")); // its own
    EXPECT_TRUE(RenameMethod(analysis, 2, std::string(40, 'n')));
    EXPECT_FALSE(RenameMethod(analysis, 3, std::string(35, 'n'))); // the same once it is cut
    EXPECT_EQ(said.Alerts,
              "Method name \"Peaks\" is not unique!\nA method must have a name.\nMethod name \"" +
                  std::string(31, 'n') + "\" is not unique!\n");

    ASSERT_TRUE(InsertFunction(analysis, OnlineTree::MethodAt(analysis, 3), 1));
    for (const bool copies : {false, true}) {
        said.Answer = [copies](bool) { return copies; };
        analysis.Current = 3;
        ASSERT_TRUE(AppendMethod(analysis));
        EXPECT_EQ(std::exchange(said.Questions, ""), "Copy settings from previous method ?\n");
        EXPECT_EQ(Tree::ChildCount(OnlineTree::CurrentMethod(analysis)), copies ? 1 : 0);
    }
    EXPECT_EQ(Order(analysis), "Peaks " + std::string(31, 'n') + " OA-2 Peaks-2 OA-1 OA-3 @6");
}

TEST(Methods, TheMethodInUseStaysInUseWhileOthersMoveAndGo) {
    using namespace OnlineEdit;
    Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::New(analysis));
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(AppendMethod(analysis));
    analysis.Current = 2;
    ASSERT_TRUE(MoveMethod(analysis, 4, 1));
    EXPECT_EQ(Order(analysis), "OA-4 OA-1 OA-2 OA-3 @3");
    ASSERT_TRUE(MoveMethod(analysis, 1, 4));
    EXPECT_EQ(Order(analysis), "OA-1 OA-2 OA-3 OA-4 @2");
    EXPECT_FALSE(MoveMethod(analysis, 1, 5) || MoveMethod(analysis, 0, 1));
    EXPECT_FALSE(DeleteMethod(analysis, 1)); // nobody said yes
    said.Answer = [](bool) { return true; };
    ASSERT_TRUE(DeleteMethod(analysis, 1));
    EXPECT_EQ(Order(analysis), "OA-2 OA-3 OA-4 @1");
    analysis.Current = 3;
    ASSERT_TRUE(DeleteMethod(analysis, 3));
    EXPECT_EQ(Order(analysis), "OA-2 OA-3 @2");
    EXPECT_FALSE(DeleteMethod(analysis, 3));
    ASSERT_TRUE(DeleteMethod(analysis, 1) && DeleteMethod(analysis, 1));
    EXPECT_EQ(Order(analysis), "OA-1 @1");
}
