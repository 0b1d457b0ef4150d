"""A stand-in on loopback for the seven server programs, for trials, examples and tests.

Reading order: `kvrpc_tools.schema` (what the servers offer), `xdr` and `codec` (values to bytes and
back), `rpc` (messages), `transport` (sockets), `state` (what the installation does), `server` (all
of it together), `__main__` (the command).
"""
