"""What the end-to-end tests stand on: displays, prefixes, the saver itself."""
