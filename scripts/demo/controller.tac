# What the telephony controller does in the demo. The network and the configuration do their parts in between.
send   async 0x8101                                     # socket-init
expect async 0x8101 hex="00 00 00 00"

send   sync  0x1003 ref=1                               # what state?
expect sync  0x1003 ref=1 text=idle
send   async 0x1004 text="hello" answer=sync            # an event of its own
expect sync  0x1004 text="hello"
expect async 0x2002 text="hello"

send   sync  0x1001 ref=2 text="sip:alice@example.com"  # register this line
expect sync  0x1001 ref=2 text=ok
expect async 0x2001 text=registering
expect async 0x2001 text=registered within=60s          # the network agrees: a SIP request

send   sync  0x1003 ref=3
expect sync  0x1003 ref=3 text=registered
expect async 0x2001 text=registering within=60s         # the configuration changed: framework text
expect async 0x2001 text=failed within=60s              # the network refuses: a SIP request

send   sync  0x1002 ref=4                               # give it up
expect sync  0x1002 ref=4 text=ok
expect async 0x2001 text=idle
