// Level 10's numbers. A picture's number changes with every change of a pixel.
