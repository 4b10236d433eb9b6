#pragma once

namespace Conformance {

class Subject;

// Checks of transceiver cages against the world; see Check::run.
void cagePresence( Subject &subject );
void cageInputs( Subject &subject );
void cageOutputs( Subject &subject );

} // namespace Conformance
