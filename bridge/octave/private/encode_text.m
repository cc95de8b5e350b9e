function xml = encode_text(text)
% XML text in pure ASCII from plain text: markup and everything else become references.
  bytes = double(unicode2native(text(:).', 'UTF-8'));
  plain = (bytes >= 32 & bytes < 127) & ~ismember(bytes, double('&<>"'''));
  if all(plain)
    xml = char(bytes);
    return
  end
  parts = repmat({''}, 1, numel(bytes));
  i = 1;
  while i <= numel(bytes)
    if plain(i)
      parts{i} = char(bytes(i));
      i = i + 1;
    else
      [code, used] = code_at(bytes(i:min(i + 3, end)));
      parts{i} = sprintf('&#%d;', code);
      i = i + used;
    end
  end
  xml = [parts{:}];
end

% The character that starts UTF-8 BYTES, and of how many it is. What XML cannot hold becomes U+FFFD.
function [code, used] = code_at(bytes)
  lead = bytes(1);
  used = 1 + (lead >= 192) + (lead >= 224) + (lead >= 240);
  if used > numel(bytes) || (lead >= 128 && lead < 192) || any(bytes(2:used) < 128 | bytes(2:used) > 191)
    code = 65533;
    used = 1;
    return
  end
  code = lead;
  if used > 1
    first = [0, 192, 224, 240];
    code = polyval([lead - first(used), bytes(2:used) - 128], 64);
  end
  if (code < 32 && ~any(code == [9, 10, 13])) || any(code == [65534, 65535])
    code = 65533;
  end
end
