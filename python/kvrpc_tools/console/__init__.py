"""The console: the reference on loopback, with a form on every procedure.

    calls      an argument's text to its problems, or to a reply
    access     who may ask: the token, the Host and Origin headers
    server     the HTTP server, which serves loopback only
    console.js, console.css     what the served page has beside the reference

A browser tab is the console's only client. Any page that the browser shows elsewhere, and any other
user of the machine, is refused.
"""
