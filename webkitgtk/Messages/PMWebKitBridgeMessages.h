#pragma once
// Messages between the UI-side companion and the web process extension that
// carry what the web-process API does not offer: resource load ends and
// snapshots exist only on the UI side, so the companion reports them to the
// extension, which turns them into the plug-in's ordinary engine callbacks.
// The plug-in's own messages are never renamed or reshaped by the bridge.

// Extension to UI: the page exists and the plug-in is initialised. No body.
inline constexpr const char* PMBridgeMessagePageReady = "PMBridge.PageReady";
// UI to extension: a document is about to load (sent before the UI side's
// own loads, and as soon as it sees any other start). Body: {"URL": string}.
// The request for it is left alone; only subresources go to the book scheme.
inline constexpr const char* PMBridgeMessageWillLoadDocument = "PMBridge.WillLoadDocument";
// UI to extension: a resource load started / ended. Body: {"identifier": uint64}.
inline constexpr const char* PMBridgeMessageResourceStarted = "PMBridge.ResourceStarted";
inline constexpr const char* PMBridgeMessageResourceFinished = "PMBridge.ResourceFinished";
inline constexpr const char* PMBridgeMessageResourceFailed = "PMBridge.ResourceFailed";
// Extension to UI, answered with a reply: a snapshot of a document rectangle.
// Body: {"x","y","width","height","scale": double}; reply body:
// {"width","height","bytesPerRow": uint64, "pixels": data} or null.
inline constexpr const char* PMBridgeMessageSnapshot = "PMBridge.Snapshot";

// The URI scheme under which the UI side serves the book's files.
inline constexpr const char* PMBookURIScheme = "pmbook";
