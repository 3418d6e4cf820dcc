// The settings record from untrusted bytes: decoding never crashes, and whatever decodes
// survives both encoded forms unchanged, before and after validation.
#include "FuzzSupport.h"
#include "settings/SettingsData.h"

using namespace tk;

namespace {

void checkRoundTrip(const SettingsData& record)
{
    for (const auto form : {SettingsData::Form::Stored, SettingsData::Form::Exported}) {
        const auto again = SettingsData::decoded(record.encoded(form));
        fuzz::check(bool(again), "an encoded record decodes");
        fuzz::check(*again == record, "decode(encode(record)) == record");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto record = SettingsData::decoded(fuzz::bytes(data, size));
    if (!record) {
        fuzz::check(!record.error().description.isEmpty(), "a decoding error has a description");
        return 0;
    }
    checkRoundTrip(*record);
    const auto valid = record->validated();
    if (valid) {
        checkRoundTrip(*valid);
        const auto twice = valid->validated();
        fuzz::check(bool(twice) && *twice == *valid, "validation is idempotent");
    }
    return 0;
}
