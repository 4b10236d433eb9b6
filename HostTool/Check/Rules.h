#pragma once

#include <span>
#include <string>

namespace HostTool::Check {

/// Each rule's row in the table has the same place as its name here.
enum class RuleId {
    // documents
    syntax,
    tooDeep,
    tooLarge,
    duplicateKey,
    repeatedKey,
    // shape
    missingKey,
    unknownKey,
    wrongType,
    wrongValue,
    // topology
    duplicateAccelerator,
    duplicateBus,
    replacedBus,
    sameBus,
    duplicateDid,
    duplicateUid,
    duplicateLabel,
    busRange,
    unknownHam,
    simulatedAccess,
    noAccessMethod,
    muxWithoutDevice,
    muxNotInline,
    muxDriver,
    muxElsewhere,
    muxLoop,
    muxChannel,
    // addresses
    addressSize,
    addressRange,
    addressUnread,
    addressTwice,
    addressBehindMux,
    // references
    duplicateName,
    unknownDid,
    unknownUid,
    unknownBus,
    noProxyDevice,
    proxyNotInline,
    gpioLabel,
    gpioNotInline,
    // drivers
    unknownDriver,
    classNotOffered,
    multiDevice,
    sharedDid,
    withoutAccess,
    readsWithoutAccess,
    // arguments
    argumentMissing,
    argumentRefused,
    argumentUnread,
    notANumber,
    hexNumber,
    numberCutShort,
    argumentRange,
    argumentWraps,
    bitRange,
    fanMaximum,
    notABoolean,
    xcvrType,
    ledName,
    ledRegister,
    identificationType,
    modelWithoutTemplate,
    modelGap,
    templatePlaceholder,
    modelReplaced,
    shellCharacters,
    commandIncomplete,
    simulationName,
    // emulation
    emulatedBusTwice,
    emulatedName,
    emulatedAddress,
    emulatedChannel,
    emulatedReference,
    knobValue,
    chipAbsent,
    chipNotFitted,
    otherChip,
    // unused
    unusedDevice,
    unusedMux,
    unusedChip,
};

enum class Severity { error, warning };

/// What a rule is about; rules of one family stand together.
enum class Family {
    document,
    shape,
    topology,
    address,
    reference,
    driver,
    argument,
    emulation,
    unused,
};

/// What comes of it when nobody minds the rule.
enum class Outcome {
    stops,   ///< the library ends the process or throws while devices are added
    refused, ///< the library, the server or the host refuses the document or a device
    taken,   ///< the devices are added, and something else happens than the document says
    nothing, ///< nothing today
};

struct Rule {
    RuleId id;
    const char *name;
    Severity severity;
    Family family;
    Outcome outcome;
    const char *sentence;
    const char *example;
    const char *hint; ///< what to do, for findings without a better one
};

std::span<const Rule> rules();
const Rule &ruleOf( RuleId id );
const char *nameOf( Severity severity );

/// All rules as Markdown, what `check --rules` prints and docs/check.md holds.
std::string rulesAsText();

} // namespace HostTool::Check
