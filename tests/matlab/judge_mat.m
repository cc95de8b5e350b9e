% Judges MAT files with Octave, by the same list as judge_mat.py.

folder = argv(){1};
lines = strsplit(strtrim(fileread(fullfile(folder, 'expected.txt'))), "\n");
file = fopen(fullfile(folder, 'expected.bin'));
data = fread(file, Inf, '*uint8')';
fclose(file);

wrong = 0;
judged = 0;
current = '';
variables = struct();
left = 0;
for i = 1:numel(lines)
    words = strsplit(lines{i}, ' ');
    [name, variable, kind] = words{1:3};
    rows = str2double(words{4});
    columns = str2double(words{5});
    offset = str2double(words{6});
    if !strcmp(name, current)
        if left != 0
            printf("%s holds other variables\n", current);
            wrong += 1;
        end
        current = name;
        variables = load(fullfile(folder, name));
        left = numel(fieldnames(variables));
        judged += 1;
    end
    left -= 1;
    if !isfield(variables, variable)
        printf("%s lacks %s\n", name, variable);
        wrong += 1;
        continue
    end
    value = variables.(variable);
    bytes = typecast(value(:)', 'uint8');
    if !strcmp(class(value), kind) || !isequal(size(value), [rows columns]) ...
            || !isequal(bytes, data(offset + 1:offset + numel(bytes)))
        printf("%s %s differs\n", name, variable);
        wrong += 1;
    end
end
if left != 0
    printf("%s holds other variables\n", current);
    wrong += 1;
end
printf("judged %d\n", judged);
exit(wrong > 0);
