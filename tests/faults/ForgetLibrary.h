#pragma once

/// Makes the library as a process finds it that has just loaded it. The devices stay behind.
void forgetLibrary();

/// @return the library knows labels of a topology that it does not have.
bool hasLabelsOfNoTree();
