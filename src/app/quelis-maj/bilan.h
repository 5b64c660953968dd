// The end of a run as the administrator reads it in the terminal: each data folder treated,
// whether its database went through, and when it failed, why (the error block of its own
// log), so that nobody has to open the logs to know the outcome.
#pragma once

#include <ostream>
#include <vector>

#include "launcher/frm_param.h"

void AfficheBilan(std::ostream& out, const std::vector<launcher::BilanDossier>& bilan);
