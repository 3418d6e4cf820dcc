// Translation of arbitrary text: Spanish and unknown languages leave it unchanged, English
// is deterministic, and a text made of one key translates to that key's English text.
#include "FuzzSupport.h"
#include "l10n/L10n.h"

using namespace tk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Bounded input keeps each run short: the replacement walks every fragment.
    if (size > 4096)
        return 0;
    const QString text = QString::fromUtf8(fuzz::bytes(data, size));
    fuzz::check(L10n::text(text, QStringLiteral("es")) == text, "Spanish is unchanged");
    fuzz::check(L10n::text(text, QStringLiteral("EN")) == text, "only exactly \"en\" translates");
    const QString english = L10n::text(text, QStringLiteral("en"));
    fuzz::check(L10n::text(text, QStringLiteral("en")) == english, "translation is deterministic");
    fuzz::check(text.isEmpty() == english.isEmpty(), "only empty text translates to empty");
    const auto exact = L10n::english().constFind(text);
    if (exact != L10n::english().cend())
        fuzz::check(english == *exact, "an exact key gives its own English text");
    return 0;
}
