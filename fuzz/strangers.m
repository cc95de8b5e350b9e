% Adds what Octave writes to the corpora in the current folder.
a = reshape (1:12, 3, 4);
words = uint16 (a * 1000);
text = ['one  '; 'three'];
z = [1+2i 3];
save ('-v4', 'Mat/octave-4.mat', 'a', 'text', 'z');
cells = {a, 'é', {words}};
record = struct ('x', {1, 2}, 'y', 'deep');
s = sparse (eye (3));
flag = [true false];
cube = zeros (2, 3, 4);
range = 1:5;
save ('-v6', 'Mat/octave-6.mat', 'a', 'words', 'text', 'z', 'cells', 'record', 's', 'flag', 'cube', 'range');
save ('-v7', 'Mat/octave-7.mat', 'a', 'words', 'text', 'z', 'cells', 'record', 's', 'flag', 'cube', 'range');
