# A controller says hello, registers a line, and hears of the line's new state.
send   async 0x8101                                     # socket-init, answered on the asynchronous channel
expect async 0x8101 hex="00 00 00 00"

send   sync  0x1001 ref=7 text="sip:alice@example.com"  # a request: its answer has the same id and reference
expect sync  0x1001 ref=7 text=ok
expect async 0x2001 text=registering within=10s         # an event, from the agent
