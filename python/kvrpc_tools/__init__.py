"""Pure Python beside the module `kvrpc`: tools that know the interface from `schema.json`."""
