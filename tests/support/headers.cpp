// No code: its target compiles the headers that most tests include.
