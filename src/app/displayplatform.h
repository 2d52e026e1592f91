#ifndef DISPLAYPLATFORM_H
#define DISPLAYPLATFORM_H

struct cOptions;

/// Settles, before the QApplication exists, which of Qt's platforms the program runs on.
namespace displayplatform {

/// Sets the environment up for @p options. False if Qt would end the program, as nothing names a display or
/// another platform.
bool prepare(const cOptions& options);

} // namespace displayplatform

#endif
