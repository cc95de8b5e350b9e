% Octave's turns: for each byte on standard input the MAT file named by the first argument is loaded once, and the
% seconds that it took are printed. Its matrices stay in columns: no copy row by row is asked of it.
path = argv(){1};
while ! isempty(fread(stdin, 1))  % fgetl would wait for what follows the line
    tic;
    variables = load(path);
    seconds = toc;
    clear variables
    printf("%.9f\n", seconds);
    fflush(stdout);
end
