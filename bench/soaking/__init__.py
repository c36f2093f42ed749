"""What bench/soak.py is made of: the network, its clock, the people at work in it, and who checks what they left."""
