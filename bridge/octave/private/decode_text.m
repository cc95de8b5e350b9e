function text = decode_text(xml)
% Plain text from XML text: every reference becomes its character.
  [references, parts] = regexp(xml, '&([^;&]*);', 'tokens', 'split');
  text = parts{1};
  for i = 1:numel(references)
    text = [text, character_of(references{i}{1}), parts{i + 1}]; %#ok<AGROW>
  end
end

function text = character_of(reference)
  named = {'amp', '&'; 'lt', '<'; 'gt', '>'; 'quot', '"'; 'apos', ''''};
  i = find(strcmp(named(:, 1), reference));
  if ~isempty(i)
    text = named{i, 2};
    return
  end
  code = NaN;
  if strncmpi(reference, '#x', 2)
    code = sscanf(reference(3:end), '%x');
  elseif strncmp(reference, '#', 1)
    code = str2double(reference(2:end));
  end
  if numel(code) ~= 1 || ~(code > 0 && code < hex2dec('110000'))
    error('orn:xml', 'the reference "&%s;" is not known', reference);
  end
  % MATLAB keeps text in units of 16 bits, Octave in bytes of UTF-8: the conversion knows which.
  text = char(native2unicode(utf8_bytes(code), 'UTF-8'));
end

function bytes = utf8_bytes(code)
  if code < 128
    bytes = code;
  elseif code < 2048
    bytes = [192 + floor(code / 64), tail(code, 1)];
  elseif code < 65536
    bytes = [224 + floor(code / 4096), tail(code, 64), tail(code, 1)];
  else
    bytes = [240 + floor(code / 262144), tail(code, 4096), tail(code, 64), tail(code, 1)];
  end
  bytes = uint8(bytes);
end

function byte = tail(code, unit)
  byte = 128 + mod(floor(code / unit), 64);
end
