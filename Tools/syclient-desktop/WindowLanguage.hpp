#pragma once

/// Makes the program speak the language that its user chose, or the one of the system; English when
/// it does not know that one. For windows that are made afterwards.
void InstallLanguage();
