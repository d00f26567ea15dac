// The version of the headers that a plug-in is built against.
#pragma once

/// Goes up with every change after which a plug-in has to be compiled again. It is also the major version of the shared
/// libraries.
#define ZUN_API_VERSION 2

/// Begins the text that every file that registers nodes leaves in its library; the version follows.
#define ZUN_API_MARK "zun node headers, version "

/// The section of the library that holds these texts, so that a host can read them before any code of it runs.
#define ZUN_API_SECTION ".zun.api"
