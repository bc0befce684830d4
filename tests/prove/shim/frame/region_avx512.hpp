// Nothing here needs instructions to be switched on.
