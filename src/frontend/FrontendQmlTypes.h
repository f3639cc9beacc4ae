#pragma once

// Makes the stores and their value types known to QML under the module "Sorvane.Frontend" 1.0.
// Stores need a Context, so QML never creates them: the application makes them and hands them
// to its views; QML reads their properties, calls their actions and uses their enumerations.
namespace FrontendQmlTypes {

inline constexpr const char *Uri = "Sorvane.Frontend";

void registerTypes();

} // namespace FrontendQmlTypes
