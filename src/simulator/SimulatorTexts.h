#pragma once

#include <QString>

namespace tk {

// The simulator's own words (its panel, its headless session), written in Spanish like every
// other text and shown in the interface language. Texts that are not the simulator's own
// (Tuckaway's menu, notices and status lines) pass through L10n::text unchanged.
namespace SimulatorTexts {

QString text(const QString& spanish, const QString& language);

} // namespace SimulatorTexts

} // namespace tk
