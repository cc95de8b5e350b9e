function [held, needed] = sample_bits(image)
% The bits that samples of the class of IMAGE have, and how many the largest one needs (0 where that says nothing:
% signed and floating-point samples).
  switch class(image)
    case {'int8', 'uint8'}
      held = 8;
    case {'int16', 'uint16'}
      held = 16;
    case {'int32', 'uint32', 'single'}
      held = 32;
    otherwise
      held = 64;
  end
  needed = 0;
  if any(strcmp(class(image), {'uint8', 'uint16', 'uint32'}))
    [~, needed] = log2(double(max(image(:))));
    needed = max(needed, 1);
  end
end
