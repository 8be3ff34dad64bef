// Text conversions for East Asian and Thai text: full-width and half-width
// forms (ASC, JIS, DBCS), phonetic readings (PHONETIC) and amounts spelled
// in Thai baht (BAHTTEXT).
#include <cmath>
#include <memory>
#include <mutex>

#include <unicode/translit.h>
#include <unicode/unistr.h>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ReferenceSupport.h"

namespace sumora {

namespace {

// One shared ICU transliterator per direction; nullptr when ICU lacks it.
const icu::Transliterator* widthTransliterator(bool toFullWidth) {
    static std::once_flag once;
    static std::unique_ptr<icu::Transliterator> toFull, toHalf;
    std::call_once(once, [] {
        UErrorCode status = U_ZERO_ERROR;
        toFull.reset(icu::Transliterator::createInstance("Halfwidth-Fullwidth", UTRANS_FORWARD, status));
        if (U_FAILURE(status)) toFull.reset();
        status = U_ZERO_ERROR;
        toHalf.reset(icu::Transliterator::createInstance("Fullwidth-Halfwidth", UTRANS_FORWARD, status));
        if (U_FAILURE(status)) toHalf.reset();
    });
    return toFullWidth ? toFull.get() : toHalf.get();
}

FormulaValue convertWidth(FunctionContext& c, bool toFullWidth) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    const icu::Transliterator* transliterator = widthTransliterator(toFullWidth);
    if (!transliterator) return txt(*text);
    icu::UnicodeString s = icu::UnicodeString::fromUTF8(*text);
    transliterator->transliterate(s); // const use: the rules are not changed
    std::string out;
    s.toUTF8String(out);
    return txt(std::move(out));
}

// ASC(text) — full-width (double-byte) letters, digits, signs and katakana
// to their half-width forms
FormulaValue asc(FunctionContext& c) {
    return convertWidth(c, false);
}

// JIS(text), DBCS(text) — half-width characters to their full-width forms
FormulaValue jis(FunctionContext& c) {
    return convertWidth(c, true);
}

// PHONETIC(reference) — the furigana of the cell; no reading is stored with
// cells, so the cell's own text
FormulaValue phonetic(FunctionContext& c) {
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    FormulaValue v =
        r.reference ? c.resolver().cellValue({r.reference->col1, r.reference->row1}, r.reference->sheetView())
                    : scalarOf(c.evaluate(0));
    if (v.isError()) return v;
    return txt(v.description());
}

// The Thai words of a number below one million, as read in amounts: the
// tens digit 1 is "สิบ" and 2 is "ยี่สิบ"; a units 1 after other digits,
// here or in the millions before (`afterHigher`), is "เอ็ด".
void appendThaiBelowMillion(std::string& out, int64_t n, bool afterHigher) {
    static const char* const kDigits[] = {"", "หนึ่ง", "สอง", "สาม", "สี่", "ห้า", "หก", "เจ็ด", "แปด", "เก้า"};
    static const char* const kPlaces[] = {"", "สิบ", "ร้อย", "พัน", "หมื่น", "แสน"};
    const int64_t whole = n;
    for (int place = 5; place >= 0; --place) {
        int64_t power = 1;
        for (int k = 0; k < place; ++k)
            power *= 10;
        int digit = static_cast<int>(n / power % 10);
        if (digit == 0) continue;
        if (place == 1 && digit == 1)
            out += "สิบ";
        else if (place == 1 && digit == 2)
            out += "ยี่สิบ";
        else if (place == 0 && digit == 1 && (whole > 1 || afterHigher))
            out += "เอ็ด";
        else {
            out += kDigits[digit];
            out += kPlaces[place];
        }
    }
}

void appendThaiNumber(std::string& out, int64_t n) {
    const bool millions = n >= 1000000;
    if (millions) {
        appendThaiNumber(out, n / 1000000);
        out += "ล้าน";
        n %= 1000000;
    }
    appendThaiBelowMillion(out, n, millions);
}

// BAHTTEXT(number) — the amount in Thai words: baht, then satang or "ถ้วน"
FormulaValue bahtText(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    double cents = std::round(std::fabs(*x) * 100);
    if (!(cents < 9.2e17)) return err(ErrorKind::invalidNumber);
    const auto total = static_cast<int64_t>(cents);
    const int64_t baht = total / 100, satang = total % 100;
    std::string out;
    if (*x < 0 && total > 0) out += "ลบ";
    if (baht > 0) {
        appendThaiNumber(out, baht);
        out += "บาท";
    } else if (satang == 0) {
        out += "ศูนย์บาท";
    }
    if (satang == 0) {
        out += "ถ้วน";
    } else {
        appendThaiBelowMillion(out, satang, false);
        out += "สตางค์";
    }
    return txt(std::move(out));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kTextExtraFunctions[] = {
    {"ASC", asc, exactly(1), numberArgRule, none, "ASC(text)", "Changes full-width characters to half-width characters."},
    {"JIS", jis, exactly(1), numberArgRule, none, "JIS(text)", "Changes half-width characters to full-width characters."},
    {"DBCS", jis, exactly(1), numberArgRule, none, "DBCS(text)", "Changes half-width characters to full-width characters."},
    {"PHONETIC", phonetic, exactly(1), numberArgRule, none, "PHONETIC(reference)", "Returns the phonetic reading of a text cell."},
    {"BAHTTEXT", bahtText, exactly(1), numberArgRule, none, "BAHTTEXT(number)", "Spells a number in Thai words with the baht currency."},
};
// clang-format on

} // namespace

void registerTextExtraFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::text, kTextExtraFunctions);
}

} // namespace sumora
