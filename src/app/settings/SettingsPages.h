#pragma once

class QWidget;

namespace tarnvik {

class PreferenceBindings;
struct SettingsServices;

// The pages of the settings window, each made of its groups and rows in their order.
QWidget *makeGeneralSettingsView(SettingsServices &services, PreferenceBindings &bindings);
QWidget *makeClickingSettingsView(SettingsServices &services, PreferenceBindings &bindings);
QWidget *makeScrollingSettingsView(SettingsServices &services, PreferenceBindings &bindings);
QWidget *makeExceptionSettingsView(SettingsServices &services, PreferenceBindings &bindings);
QWidget *makeAboutSettingsView(SettingsServices &services);

} // namespace tarnvik
