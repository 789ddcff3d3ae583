#pragma once
// Limits of the play settings the UCI options and the settings file store.
// The settings themselves live with the modules that read them (the book's in
// book/book_settings.h, the tablebase's in tablebase/probe.h).

// Longest tablebase path the options and the settings file store.
inline constexpr int kSyzygyPathLength = 143;
