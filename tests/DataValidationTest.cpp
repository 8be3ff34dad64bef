#include <gtest/gtest.h>

#include "editing/DataValidation.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

DataValidationRule ruleOver(ValidationType type, ValidationErrorStyle style = ValidationErrorStyle::stop) {
    DataValidationRule r;
    r.validationType = std::move(type);
    r.startCol = 1; // B2:B10
    r.startRow = 1;
    r.endCol = 1;
    r.endRow = 9;
    r.errorStyle = style;
    return r;
}

struct EntryCase {
    const char* name;
    ValidationType type;
    const char* text;
    bool valid;
};

TEST(DataValidation, EachTypeAcceptsAndRefusesTheEntriesUsersExpect) {
    const std::vector<EntryCase> cases = {
        {"whole in range", validation::WholeNumber{1, 10}, "7", true},
        {"whole at upper bound", validation::WholeNumber{1, 10}, "10", true},
        {"whole above range", validation::WholeNumber{1, 10}, "11", false},
        {"whole with fraction", validation::WholeNumber{1, 10}, "2.5", false},
        {"whole from text", validation::WholeNumber{1, 10}, "seven", false},
        {"whole open below", validation::WholeNumber{std::nullopt, 10}, "-400", true},
        {"decimal fraction", validation::Decimal{0, 1}, "0.25", true},
        {"decimal below", validation::Decimal{0, 1}, "-0.01", false},
        {"list member", validation::List{{"Red", " Green", "Blue"}}, "Green", true},
        {"list is case-sensitive", validation::List{{"Red", "Green"}}, "red", false},
        {"list number matches numerically", validation::List{{"1.0", "2"}}, "1", true},
        {"list non-member", validation::List{{"Red"}}, "Purple", false},
        {"length in range", validation::TextLength{2, 5}, "abcd", true},
        {"length counts characters not bytes", validation::TextLength{std::nullopt, 3}, "äöü", true},
        {"length too long", validation::TextLength{2, 5}, "abcdef", false},
        {"date text inside", validation::Date{"2024-01-01", "2024-12-31"}, "2024-06-15", true},
        {"date on its bound", validation::Date{"2024-01-01", std::nullopt}, "2024-01-01", true},
        {"date before range", validation::Date{"2024-01-01", "2024-12-31"}, "2023-12-31", false},
        {"date as serial", validation::Date{"2024-01-01", std::nullopt}, "45300", true},
        {"date from non-date text", validation::Date{"2024-01-01", std::nullopt}, "soon", false},
        {"custom true", validation::Custom{"B2>0"}, "3", true},
        {"custom false", validation::Custom{"=B2>0"}, "-3", false},
        {"custom number result", validation::Custom{"MOD(B2,2)"}, "3", true},
        {"custom error fails", validation::Custom{"1/0"}, "3", false},
        {"empty always allowed", validation::WholeNumber{1, 10}, "", true},
    };
    for (const auto& c : cases) {
        test::TestBook book;
        book.doc.sheets[0].dataValidations.push_back(ruleOver(c.type));
        auto verdict = checkEntry(book.doc, 0, {1, 1}, c.text);
        EXPECT_EQ(verdict.outcome == ValidationOutcome::accept, c.valid) << c.name;
    }
}

TEST(DataValidation, ErrorStyleDecidesWhatAFailureDoes) {
    const std::vector<std::pair<ValidationErrorStyle, ValidationOutcome>> cases = {
        {ValidationErrorStyle::stop, ValidationOutcome::refuse},
        {ValidationErrorStyle::warning, ValidationOutcome::askToContinue},
        {ValidationErrorStyle::information, ValidationOutcome::inform},
    };
    for (const auto& [style, outcome] : cases) {
        test::TestBook book;
        book.doc.sheets[0].dataValidations.push_back(ruleOver(validation::WholeNumber{1, 10}, style));
        EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "50").outcome, outcome);
        EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "5").outcome, ValidationOutcome::accept);
    }
}

TEST(DataValidation, VerdictCarriesTheRulesTextsOrADescription) {
    test::TestBook book;
    auto rule = ruleOver(validation::WholeNumber{1, 10});
    book.doc.sheets[0].dataValidations.push_back(rule);
    auto plain = checkEntry(book.doc, 0, {1, 1}, "50");
    EXPECT_EQ(plain.title, "Invalid Entry");
    EXPECT_EQ(plain.message, "The value must be a whole number between 1 and 10.");

    book.doc.sheets[0].dataValidations[0].errorTitle = "Quantity";
    book.doc.sheets[0].dataValidations[0].errorMessage = "Order 1 to 10 boxes.";
    auto custom = checkEntry(book.doc, 0, {1, 1}, "50");
    EXPECT_EQ(custom.title, "Quantity");
    EXPECT_EQ(custom.message, "Order 1 to 10 boxes.");
}

TEST(DataValidation, CellsOutsideEveryRuleAcceptAnything) {
    test::TestBook book;
    book.doc.sheets[0].dataValidations.push_back(ruleOver(validation::WholeNumber{1, 10}));
    EXPECT_EQ(checkEntry(book.doc, 0, {2, 1}, "abc").outcome, ValidationOutcome::accept);  // C2
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 10}, "abc").outcome, ValidationOutcome::accept); // B11
    EXPECT_EQ(checkEntry(book.doc, 5, {1, 1}, "abc").outcome, ValidationOutcome::accept);  // no such sheet
}

TEST(DataValidation, FormulaEntryIsCheckedByItsResult) {
    test::TestBook book;
    book.set("A1", "4").set("A2", "40");
    book.doc.sheets[0].dataValidations.push_back(ruleOver(validation::WholeNumber{1, 10}));
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "=A1*2").outcome, ValidationOutcome::accept);
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "=A2*2").outcome, ValidationOutcome::refuse);
}

TEST(DataValidation, CustomFormulaMovesWithTheCheckedCell) {
    // B2:B10 must exceed the neighbour in column A of the same row.
    test::TestBook book;
    book.set("A2", "5").set("A5", "100");
    book.doc.sheets[0].dataValidations.push_back(ruleOver(validation::Custom{"B2>A2"}));
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "6").outcome, ValidationOutcome::accept); // B2 vs A2
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 4}, "6").outcome, ValidationOutcome::refuse); // B5 vs A5
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 4}, "101").outcome, ValidationOutcome::accept);
}

TEST(DataValidation, CustomFormulaSeesTheCandidateInsideRanges) {
    // Unique entries: the count of the candidate in B2:B10 must be 1.
    test::TestBook book;
    book.set("B3", "apple").set("B4", "pear");
    book.doc.sheets[0].dataValidations.push_back(ruleOver(validation::Custom{"COUNTIF($B$2:$B$10,B2)=1"}));
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "plum").outcome, ValidationOutcome::accept);
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 1}, "pear").outcome, ValidationOutcome::refuse);
    // Re-entering a cell's own value does not count it twice.
    EXPECT_EQ(checkEntry(book.doc, 0, {1, 2}, "apple").outcome, ValidationOutcome::accept);
}

TEST(DataValidation, DescriptionsNameTheBounds) {
    const std::vector<std::pair<ValidationType, std::string>> cases = {
        {validation::WholeNumber{1, std::nullopt}, "The value must be a whole number of at least 1."},
        {validation::Decimal{std::nullopt, 2.5}, "The value must be a number of at most 2.5."},
        {validation::List{{"a", " b"}}, "The value must be one of: a, b."},
        {validation::TextLength{2, 5}, "The text must be between 2 and 5 characters long."},
        {validation::Date{std::nullopt, "2025-01-01"}, "The value must be a date on or before 2025-01-01."},
        {validation::Custom{"A1>0"}, "The value must satisfy the formula =A1>0."},
    };
    for (const auto& [type, text] : cases)
        EXPECT_EQ(describeValidation(type), text);
}

TEST(DataValidation, PromptAndDropdownComeFromTheCoveringRule) {
    Sheet sheet = SumoraDocument::makeNewSheet("S");
    auto list = ruleOver(validation::List{{"Low", " High"}});
    list.inputTitle = "Priority";
    list.showDropdown = true;
    sheet.dataValidations.push_back(list);
    auto whole = ruleOver(validation::WholeNumber{});
    whole.startCol = whole.endCol = 3;
    whole.showDropdown = true; // ignored: only list rules offer choices
    sheet.dataValidations.push_back(whole);

    auto prompt = inputPromptAt(sheet, {1, 1});
    ASSERT_TRUE(prompt);
    EXPECT_EQ(prompt->title, "Priority");
    EXPECT_FALSE(inputPromptAt(sheet, {3, 1})); // a rule without texts prompts nothing
    EXPECT_EQ(dropdownEntriesAt(sheet, {1, 5}), (std::vector<std::string>{"Low", "High"}));
    EXPECT_FALSE(dropdownEntriesAt(sheet, {3, 1}));
    EXPECT_FALSE(dropdownEntriesAt(sheet, {0, 0}));
}

} // namespace
} // namespace sumora
