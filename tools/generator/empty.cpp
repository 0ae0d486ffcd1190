// Keeps the generator library non-empty while it has no sources.
